// What the tests of every port's facilities begin with.
#pragma once

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "platform/NativePlatform.h"
#include "support/ScratchFolder.h"

namespace qrt::test {

/// Uses only the interfaces: every port must answer the same.
class ContractTest : public testing::Test {
 protected:
  const Platform& platform() const { return native_.facilities(); }

  /// For tests that write to places of the system. They are in the scratch folder where the port
  /// takes a root, else the real ones, so the tests undo what they write.
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

/// No other test has this name.
inline std::string uniqueName() { return "com.vantor.contract-test-" + std::to_string(getpid()); }

}  // namespace qrt::test
