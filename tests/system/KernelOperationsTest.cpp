#include "system/KernelOperations.h"

#include <signal.h>

#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

TEST(KernelOperations, ASettingGetsTheNumberInDecimal) {
  const test::ScratchFolder root;
  const NativePlatform native{root.path() + "/"};
  const struct {
    const char* name;
    Number value;
    int code;
    const char* text;
  } cases[] = {{"kern.limit", 1e300, 0, "9223372036854775807"},
               {"kern.limit", UINT64_MAX, 0, "18446744073709551615"},
               {"", 1, 22, ""},
               {"kern.absent", 1, 2, ""}};
  for (const auto& [name, value, code, text] : cases) {
    const auto file = test::plant(root, "proc/sys/kern/limit");
    EXPECT_EQ(codeOf(performOperationModifyKernelsettingWithArguments(native.facilities(),
                                                                      {name, value}, nullptr)),
              code);
    EXPECT_EQ(test::contentsOf(file), text);
  }
}

TEST(KernelOperations, SignalsReachSingleProcessesOnly) {
  const NativePlatform native;
  const auto send = [&](Number process, Number signal) {
    return codeOf(performOperationSignalProcessWithArguments(native.facilities(), {process, signal},
                                                             nullptr));
  };
  const pid_t child = fork();
  while (child == 0) pause();
  EXPECT_EQ(send(child, 12345), 22);
  // Only the low 32 bits of the numbers count.
  constexpr std::int64_t more = std::int64_t{1} << 32;
  EXPECT_EQ(send(more + child, more + SIGUSR2), 0);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, SIGUSR2);
  EXPECT_EQ(send(child, 0), 3);
  // Process groups and "every process". Signal 0 would do no harm.
  for (const Number process : {Number(0), Number(-1), Number(-getpgrp()), Number(0xffffffff)}) {
    EXPECT_EQ(send(process, 0), 22);
  }
}

}  // namespace
}  // namespace qrt
