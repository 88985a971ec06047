#include "platform/Terminal.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "platform/CallerProcess.h"
#include "platform/FileDescriptor.h"
#include "platform/NativePlatform.h"

namespace qrt {
namespace {

TEST(PosixTerminal, WriteFailsWhenTheReaderHasClosedTheStream) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  const FileDescriptor writing(ends[1]), before(dup(STDERR_FILENO));
  dup2(writing.get(), STDERR_FILENO);
  EXPECT_FALSE(makeNativeTerminal()->write(StandardStream::error, "x"));
  dup2(before.get(), STDERR_FILENO);
}

TEST(PosixCallerProcess, AnInterruptionCallsTheActionWhileTheGuardLives) {
  const auto caller = makeNativeCallerProcess();
  int calls = 0;
  signal(SIGHUP, SIG_IGN);
  {
    const auto guard = caller->catchInterruptions([&] { ++calls; });
    raise(SIGINT);
    raise(SIGTERM);
    raise(SIGHUP);
    EXPECT_EQ(calls, 2) << "what was ignored stays ignored";
  }
  signal(SIGHUP, SIG_DFL);
  EXPECT_EXIT(raise(SIGINT), testing::KilledBySignal(SIGINT), "");
}

}  // namespace
}  // namespace qrt
