#include "platform/linux/LinuxProcessTable.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/linux/ProcessFiles.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using Records = std::vector<ProcessRecord>;

const ProcessRecord* recordOf(const std::optional<Records>& records, std::int32_t identifier) {
  if (!records) return nullptr;
  const auto found = std::find_if(records->begin(), records->end(), [&](const auto& record) {
    return record.identifier == identifier;
  });
  return found == records->end() ? nullptr : &*found;
}

TEST(ProcessFiles, NamesMayHoldAnything) {
  EXPECT_EQ(commandNameInStat("1 (init) S 0 1"), "init");
  EXPECT_EQ(commandNameInStat("1 (a) R 2 (b)) S 0 1"), "a) R 2 (b)");
  EXPECT_EQ(commandNameInStat("1 (new\nline) S"), "new\nline");
  EXPECT_EQ(commandNameInStat("1 () S"), "");
  for (const char* damaged : {"", "1", "1 (init", "1 )init(", "1 init) S"}) {
    EXPECT_EQ(commandNameInStat(damaged), std::nullopt) << damaged;
  }
}

TEST(ProcessFiles, TheSecondUserIsTheEffectiveOne) {
  EXPECT_EQ(effectiveUserInStatus("Name:\tx\nUid:\t1\t2\t3\t4\nGid:\t5\t6\t7\t8\n"), 2u);
  EXPECT_EQ(effectiveUserInStatus("Name:\t\\nUid:\t9\t9\nUid:\t1\t4294967295\t3\t4"), 4294967295u);
  for (const char* damaged : {"", "Name:\tx\n", "Name:\tx\nUid:\t", "Name:\tx\nUid:\t1",
                              "Name:\tx\nUid:\t1\t", "Name:\tx\nUid:\t1\t99999999999\t3"}) {
    EXPECT_EQ(effectiveUserInStatus(damaged), std::nullopt) << damaged;
  }
}

TEST(LinuxProcessTable, ListsFoldersThatAreProcesses) {
  const test::ScratchFolder root;
  test::plant(root, "proc/7/stat", "7 (seven) S");
  test::plant(root, "proc/7/status", "Name:\tseven\nUid:\t0\t5\t0\t0\n");
  test::plant(root, "proc/8/stat", "8 (half gone) S");  // Ended before its status was read.
  test::plant(root, "proc/9/stat", "damaged");
  test::plant(root, "proc/9/status", "damaged");
  for (const char* name : {"7x", "self", "99999999999", "sys"}) {
    test::plant(root, std::string("proc/") + name + "/stat", "1 (fake) S");
    test::plant(root, std::string("proc/") + name + "/status", "Name:\tfake\nUid:\t0\t0\t0\t0\n");
  }
  test::plant(root, "proc/10", "a file");

  const auto records = LinuxProcessTable(root.path()).processes();
  ASSERT_TRUE(records);
  ASSERT_EQ(records->size(), 1u);
  EXPECT_EQ(records->front().identifier, 7);
  EXPECT_EQ(records->front().name, "seven");
  EXPECT_EQ(records->front().effectiveUserID, 5u);

  EXPECT_EQ(LinuxProcessTable(root.path("proc/7/stat")).processes(), std::nullopt);
}

TEST(LinuxProcessTable, ShowsNameAndEffectiveUserOfARealProcess) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const bool isRoot = geteuid() == 0;
  const auto child = fork();
  if (child == 0) {
    prctl(PR_SET_NAME, "a) R 0 (\nUid:\t7");
    if (isRoot && setresuid(0, 12345, 0) != 0) _exit(1);
    if (write(ready[1], "", 1) == 1) pause();
    _exit(1);
  }
  char byte;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  const auto records = LinuxProcessTable("/").processes();
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]);
  close(ready[1]);

  const auto* record = recordOf(records, child);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->name, "a) R 0 (\nUid:\t7");
  EXPECT_EQ(record->effectiveUserID, isRoot ? 12345 : geteuid());
}

TEST(LinuxProcessTable, AThreadIsNoProcess) {
  std::mutex mutex;
  std::condition_variable changed;
  pid_t threadIdentifier = 0;
  bool mayEnd = false;
  std::thread thread([&] {
    std::unique_lock lock(mutex);
    pthread_setname_np(pthread_self(), "qrt-only-thread");
    threadIdentifier = static_cast<pid_t>(syscall(SYS_gettid));
    changed.notify_all();
    changed.wait(lock, [&] { return mayEnd; });
  });
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return threadIdentifier != 0; });
    const auto records = LinuxProcessTable("/").processes();
    EXPECT_TRUE(recordOf(records, getpid()));
    EXPECT_FALSE(recordOf(records, threadIdentifier));
    mayEnd = true;
  }
  changed.notify_all();
  thread.join();
}

TEST(LinuxProcessTable, IsReadWhileProcessesComeAndGo) {
  const auto spawner = fork();
  if (spawner == 0) {
    signal(SIGCHLD, SIG_IGN);
    for (;;) {
      if (fork() == 0) _exit(0);
    }
  }
  LinuxProcessTable table("/");
  int rounds = 0;
  for (; rounds < 100; ++rounds) {
    const auto records = table.processes();
    if (!recordOf(records, getpid()) || !recordOf(records, spawner)) break;
  }
  kill(spawner, SIGKILL);
  waitpid(spawner, nullptr, 0);
  EXPECT_EQ(rounds, 100);
}

}  // namespace
}  // namespace qrt
