#include "operations/SystemSettings.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

class SystemSettings : public testing::Test {
 protected:
  SystemSettings() {
    test::plant(root, "proc/sys/kern/limit");
    registerSystemSettingHandlers(handlers, native.facilities());
  }

  std::int64_t modifyKernelSetting(PropertyValue name, PropertyValue value) {
    return codeOf((*handlers.find("performOperationModifyKernelsettingWithArguments:"))(
        {std::move(name), std::move(value)}, nullptr));
  }
  std::int64_t signalProcess(PropertyValue process, PropertyValue signal) {
    return codeOf((*handlers.find("performOperationSignalProcessWithArguments:"))(
        {std::move(process), std::move(signal)}, nullptr));
  }

  const test::ScratchFolder root;
  const NativePlatform native{root.path() + "/"};
  HandlerTable handlers;
};

TEST_F(SystemSettings, KernelSettingsAreWritten) {
  EXPECT_EQ(modifyKernelSetting("kern.limit", -1), 0);
  EXPECT_EQ(test::contentsOf(root.path("proc/sys/kern/limit")), "-1");
  EXPECT_EQ(modifyKernelSetting("", 1), 22);
  EXPECT_EQ(modifyKernelSetting("kern.absent", 1), 2);
}

/// A child that waits for its end.
class Child {
 public:
  Child() {
    if (identifier_ == 0) {
      for (;;) pause();
    }
  }
  ~Child() {
    if (identifier_ > 0) kill(identifier_, SIGKILL), waitForEnd();
  }

  pid_t identifier() const { return identifier_; }
  /// The signal that ended it.
  int waitForEnd() {
    int status = 0;
    waitpid(identifier_, &status, 0);
    identifier_ = -1;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

 private:
  pid_t identifier_ = fork();
};

TEST_F(SystemSettings, ASignalReachesTheProcess) {
  Child child;
  EXPECT_EQ(signalProcess(child.identifier(), 0), 0);
  EXPECT_EQ(signalProcess(child.identifier(), 12345), 22);
  EXPECT_EQ(signalProcess(child.identifier(), SIGUSR1), 0);
  EXPECT_EQ(child.waitForEnd(), SIGUSR1);
}

TEST_F(SystemSettings, OnlyTheLow32BitsOfTheNumbersCount) {
  Child child;
  EXPECT_EQ(signalProcess((std::uint64_t{1} << 40) + static_cast<std::uint64_t>(child.identifier()),
                          (std::int64_t{1} << 32) + SIGUSR2),
            0);
  EXPECT_EQ(child.waitForEnd(), SIGUSR2);
}

TEST_F(SystemSettings, GroupsAndEverybodyCannotBeAddressed) {
  // Signal 0 asks the same question and would harm nobody if it got through.
  constexpr int harmless = 0;
  for (const PropertyValue& process :
       {PropertyValue(0), PropertyValue(-1), PropertyValue(-getpgrp()),
        PropertyValue(std::uint64_t{0xffffffff}), PropertyValue(std::int64_t{1} << 32),
        PropertyValue(1e300), PropertyValue(false)}) {
    EXPECT_EQ(signalProcess(process, harmless), 22);
  }
}

TEST_F(SystemSettings, AProcessThatHasEndedIsUnknown) {
  Child child;
  const auto identifier = child.identifier();
  kill(identifier, SIGKILL);
  child.waitForEnd();
  EXPECT_EQ(signalProcess(identifier, 0), 3);
}

}  // namespace
}  // namespace qrt
