#include "platform/Terminal.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>

#include "platform/CallerProcess.h"
#include "platform/FileDescriptor.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

/// Redirects a descriptor of this process while it lives.
class Redirection {
 public:
  Redirection(int descriptor, int elsewhere) : descriptor_(descriptor), before_(dup(descriptor)) {
    dup2(elsewhere, descriptor);
  }
  ~Redirection() { dup2(before_.get(), descriptor_); }

 private:
  int descriptor_;
  FileDescriptor before_;
};

TEST(PosixTerminal, WritesEverythingToASlowReaderOfANonBlockingStream) {
  const test::ScratchFolder scratch;
  FILE* const reader = popen(("sleep 0.1; cat > " + scratch.path("received")).c_str(), "w");
  fcntl(fileno(reader), F_SETFL, O_NONBLOCK);
  const std::string text(1 << 20, 'x');
  {
    const Redirection redirection(STDOUT_FILENO, fileno(reader));
    EXPECT_TRUE(makeNativeTerminal()->write(StandardStream::output, text));
  }
  EXPECT_EQ(pclose(reader), 0);
  EXPECT_EQ(test::contentsOf(scratch.path("received")), text);
}

TEST(PosixTerminal, WriteFailsWhenTheReaderHasClosedTheStream) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  const FileDescriptor writing(ends[1]);
  const Redirection redirection(STDERR_FILENO, writing.get());
  EXPECT_FALSE(makeNativeTerminal()->write(StandardStream::error, "x"));
}

TEST(PosixTerminal, KnowsATerminalAndItsWidth) {
  const FileDescriptor controller(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  ASSERT_TRUE(controller && grantpt(controller.get()) == 0 && unlockpt(controller.get()) == 0);
  const FileDescriptor screen(open(ptsname(controller.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
  ASSERT_TRUE(screen);
  const auto terminal = makeNativeTerminal();
  const Redirection redirection(STDERR_FILENO, screen.get());
  EXPECT_TRUE(terminal->isTerminal(StandardStream::error));
  const winsize size{0, 57, 0, 0};
  ASSERT_EQ(ioctl(screen.get(), TIOCSWINSZ, &size), 0);
  EXPECT_EQ(terminal->columns(), 57u);

  const FileDescriptor nowhere(open("/dev/null", O_RDWR | O_CLOEXEC));
  const Redirection errors(STDERR_FILENO, nowhere.get());
  const Redirection output(STDOUT_FILENO, nowhere.get());
  EXPECT_EQ(terminal->columns(), 80u);
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
