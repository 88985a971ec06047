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

  /// For tests that write to places of the system. They are in a scratch folder where the port
  /// takes a root, else the real ones, so the tests undo what they write.
  const Platform& sealedPlatform() const { return sealed_.facilities(); }

  const ScratchFolder scratch_;

 private:
  const ScratchFolder root_;
  const bool hasFolders_ = run({"mkdir", "-p", root_.path() + getpwuid(geteuid())->pw_dir,
                                root_.path("etc"), root_.path("usr/share"), root_.path("var/lib")});
  const NativePlatform native_, sealed_{root_.path() + "/"};
};

/// No other test has this name.
inline std::string uniqueName() { return "com.vantor.contract-test-" + std::to_string(getpid()); }

}  // namespace qrt::test
