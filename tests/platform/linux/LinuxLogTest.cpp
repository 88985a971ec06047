#include "platform/Log.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "platform/FileDescriptor.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr std::size_t maximumBytes = 4096;

TEST(LinuxLogTest, LinesOnStandardErrorHavePrioritiesAndNoControlCharacters) {
  const test::ScratchFolder withoutJournal;
  const auto log = makeLog(withoutJournal.path(), WithoutJournal::standardError);
  testing::internal::CaptureStderr();
  makeLog(withoutJournal.path(), WithoutJournal::nowhere)->fault("Not seen.");
  log->standard("Started %llu.", 7u);
  log->info("Public '%{public}@', private '%@'.", "a\n<0>forged \u009b\xff \u00f6", "b");
  log->error("Failed.");
  log->fault("%{public}@", std::string(3 * maximumBytes, '\x01'));
  const auto written = testing::internal::GetCapturedStderr();
  const std::string lines =
      "<5>Started 7.\n<6>Public 'a\\x0a<0>forged \\xc2\\x9b\\xff \u00f6', private '<private>'.\n"
      "<3>Failed.\n<2>";
  EXPECT_TRUE(written.starts_with(lines)) << written;
  EXPECT_TRUE(written.ends_with("\\x01\n")) << "a line is cut between characters";
  EXPECT_LE(written.size() - lines.size(), maximumBytes - 3);
  EXPECT_GT(written.size() - lines.size(), maximumBytes - 8);
}

TEST(JournalTest, GetsTheFieldsOfALine) {
  const test::Mount run{test::Mount::Kind::memory, "/run"};
  if (!run.isMounted()) GTEST_SKIP() << "needs the right to mount";
  test::run({"mkdir", "-p", "/run/systemd/journal"});
  const FileDescriptor journal{socket(AF_UNIX, SOCK_DGRAM, 0)};
  const sockaddr_un address{AF_UNIX, "/run/systemd/journal/socket"};
  ASSERT_EQ(bind(journal.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  /// The fields of the next line, each after a line feed.
  const auto received = [&] {
    char datagram[1 << 16];
    const auto length = recv(journal.get(), datagram, sizeof datagram, MSG_DONTWAIT);
    return "\n" + std::string(datagram, static_cast<std::size_t>(std::max(length, ssize_t{0})));
  };
  const auto log = makeLog("/", WithoutJournal::nowhere);
  log->open("com.example", "standard");
  log->fault("Broken\nPRIORITY=7 %{public}@", std::string(1 << 20, 'x'));
  const auto line = received();
  for (const auto* field : {"MESSAGE=Broken\\x0aPRIORITY=7 xxx", "PRIORITY=2\n",
                            "SUBSYSTEM=com.example\n", "CATEGORY=standard\n"}) {
    EXPECT_THAT(line, HasSubstr(std::string("\n") + field));
  }
  EXPECT_LT(line.size(), maximumBytes + 200);

  Caller caller{.userID = 1000, .processID = 42, .executable = "/bin/a\nb"};
  log->write(LogLevel::info, "Line.", {&caller, "touch-fileobject"});
  EXPECT_THAT(received(), AllOf(HasSubstr("\nMESSAGE=Line.\n"), HasSubstr("\nOBJECT_PID=42\n"),
                                HasSubstr("\nQRT_CLIENT_UID=1000\n"),
                                HasSubstr("\nQRT_CLIENT_EXE=/bin/a\\x0ab\n"),
                                HasSubstr("\nQRT_OPERATION=touch-fileobject\n")));
}

}  // namespace
}  // namespace qrt
