// What the tests of every port's facilities begin with.
#pragma once

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "platform/NativePlatform.h"
#include "support/ScratchFolder.h"

namespace qrt::test {

/// Knows nothing of the port: whatever is asked for here, each must answer alike.
class ContractTest : public testing::Test {
 protected:
  const Platform& platform() const { return native_.facilities(); }

  /// For what is written to places of the system. A port that takes them from a root has them in
  /// the scratch folder; for another they are the real ones, so tests clean up by the same calls.
  const Platform& sealedPlatform() {
    if (!sealed_) {
      run({"mkdir", "-p", scratch_.path() + getpwuid(geteuid())->pw_dir, scratch_.path("etc"),
           scratch_.path("usr/share"), scratch_.path("var/lib")});
      sealed_ = std::make_unique<NativePlatform>(scratch_.path() + "/");
    }
    return sealed_->facilities();
  }

  ScratchFolder scratch_;

 private:
  NativePlatform native_;
  std::unique_ptr<NativePlatform> sealed_;
};

/// Stands for this process's own test only.
inline std::string uniqueName() { return "com.vantor.contract-test-" + std::to_string(getpid()); }

}  // namespace qrt::test
