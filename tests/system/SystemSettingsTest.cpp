#include "system/SystemSettings.h"

#include <signal.h>

#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

class SystemSettings : public testing::Test {
 protected:
  SystemSettings() {
    test::plant(root, "proc/sys/kern/limit");
    registerSystemSettingHandlers(handlers);
  }

  std::int64_t modifyKernelSetting(PropertyValue name, PropertyValue value) {
    return codeOf((*handlers.find("performOperationModifyKernelsettingWithArguments:"))(
        native.facilities(), {std::move(name), std::move(value)}, nullptr));
  }
  std::int64_t signalProcess(PropertyValue process, PropertyValue signal) {
    return codeOf((*handlers.find("performOperationSignalProcessWithArguments:"))(
        native.facilities(), {std::move(process), std::move(signal)}, nullptr));
  }

  const test::ScratchFolder root;
  const NativePlatform native{root.path() + "/"};
  HandlerTable handlers;
};

TEST_F(SystemSettings, KernelSettingsAreWritten) {
  const std::pair<PropertyValue, const char*> cases[] = {
      {-1, "-1"},
      {true, "1"},
      {1e300, "9223372036854775807"},
      {std::uint64_t{18446744073692774399u}, "18446744073692774399"}};
  for (const auto& [value, text] : cases) {
    test::plant(root, "proc/sys/kern/limit");
    EXPECT_EQ(modifyKernelSetting("kern.limit", value), 0);
    EXPECT_EQ(test::contentsOf(root.path("proc/sys/kern/limit")), text);
  }
  EXPECT_EQ(modifyKernelSetting("", 1), 22);
  EXPECT_EQ(modifyKernelSetting("kern.absent", 1), 2);
}

TEST_F(SystemSettings, ASignalReachesTheProcess) {
  const pid_t child = fork();
  while (child == 0) pause();
  EXPECT_EQ(signalProcess(child, 0), 0);
  EXPECT_EQ(signalProcess(child, 12345), 22);
  // Only the low 32 bits of the numbers count.
  constexpr std::int64_t more = std::int64_t{1} << 32;
  EXPECT_EQ(signalProcess(more + child, more + SIGUSR2), 0);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, SIGUSR2);
  EXPECT_EQ(signalProcess(child, 0), 3);
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

}  // namespace
}  // namespace qrt
