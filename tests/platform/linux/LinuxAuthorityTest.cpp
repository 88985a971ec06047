#include "platform/linux/LinuxAuthority.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/BoundedPropertyLists.h"
#include "support/ScratchFolder.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

class LinuxAuthorityTest : public testing::Test {
 protected:
  test::ScratchFolder scratch_;
  std::string state_ = scratch_.path() + "/state";
  BoundedPropertyLists propertyLists_;
  LinuxAuthority authority_{state_, propertyLists_};

  PeerIdentity self(std::uint32_t user) const {
    return {user, static_cast<std::int32_t>(getpid()), *startTimeOfProcess(getpid())};
  }

  AuthorizationStatus ask(std::uint32_t user, const std::string& right) {
    const auto form = authority_.externalForm(self(user));
    auto reference = authority_.createFromExternalForm(*form);
    if (!reference) return reference.error();
    const AuthorizationEnvironment nothing{0, nullptr};
    return (*reference)->copyRight(right, nothing, 3);
  }
};

TEST_F(LinuxAuthorityTest, GrantsByRightAndUser) {
  if (geteuid() != 0) GTEST_SKIP() << "writing rights needs root";
  const auto reference = authority_.create();
  ASSERT_TRUE(reference);
  EXPECT_EQ(authority_.rightGet("everybody's"), AuthorizationStatus::denied);
  for (const auto& [name, definition] :
       {std::pair<std::string, PropertyValue>{"everybody's", "allow"},
        {"admin's", "authenticate-admin"},
        {"default", Dictionary{{"rule", "default"}}}}) {
    EXPECT_EQ(authority_.rightSet(**reference, name, definition, "Why", "Table"),
              AuthorizationStatus::noError);
    EXPECT_EQ(authority_.rightGet(name), AuthorizationStatus::noError);
  }
  struct Case {
    std::uint32_t user;
    const char* right;
    AuthorizationStatus status;
  };
  for (const auto& c : {Case{1000, "everybody's", AuthorizationStatus::noError},
                        Case{1000, "admin's", AuthorizationStatus::denied},
                        Case{1000, "default", AuthorizationStatus::denied},
                        Case{1000, "unknown", AuthorizationStatus::denied},
                        Case{0, "admin's", AuthorizationStatus::noError},
                        Case{0, "unknown", AuthorizationStatus::noError}}) {
    EXPECT_EQ(ask(c.user, c.right), c.status) << c.user << " " << c.right;
  }
  // Another process's view of the same database.
  LinuxAuthority other(state_, propertyLists_);
  EXPECT_EQ(other.rightRemove(**reference, "everybody's"), AuthorizationStatus::noError);
  EXPECT_EQ(ask(1000, "everybody's"), AuthorizationStatus::denied);
}

TEST_F(LinuxAuthorityTest, EveryChangedByteBreaksTheSeal) {
  const auto form = *authority_.externalForm(self(0));
  ASSERT_TRUE(authority_.createFromExternalForm(form));
  for (std::size_t i = 0; i < form.size(); ++i) {
    auto forged = form;
    forged[i] ^= 1;
    const auto reference = authority_.createFromExternalForm(forged);
    ASSERT_FALSE(reference) << i;
    EXPECT_EQ(reference.error(), AuthorizationStatus::internalizeNotAllowed);
  }
  test::ScratchFolder elsewhere;
  LinuxAuthority stranger(elsewhere.path() + "/state", propertyLists_);
  EXPECT_FALSE(stranger.createFromExternalForm(form));
}

TEST_F(LinuxAuthorityTest, AFormDiesWithItsProcess) {
  int hold[2];
  ASSERT_EQ(pipe(hold), 0);
  const pid_t child = fork();
  if (child == 0) {
    char byte;
    close(hold[1]);
    _exit(static_cast<int>(read(hold[0], &byte, 1)));
  }
  const PeerIdentity identity{0, child, *startTimeOfProcess(child)};
  const auto form = *authority_.externalForm(identity);
  EXPECT_TRUE(authority_.createFromExternalForm(form));
  close(hold[1]);
  waitpid(child, nullptr, 0);
  close(hold[0]);
  EXPECT_FALSE(authority_.createFromExternalForm(form));
  // The same number in another life.
  auto successor = self(0);
  ++successor.startTime;
  EXPECT_FALSE(authority_.createFromExternalForm(*authority_.externalForm(successor)));
}

TEST_F(LinuxAuthorityTest, TheKeyIsRootsAndStaysTheSame) {
  const auto form = *authority_.externalForm(self(0));
  struct stat status;
  ASSERT_EQ(stat((state_ + "/authorization.key").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_EQ(status.st_size, 32);
  LinuxAuthority restarted(state_, propertyLists_);
  EXPECT_TRUE(restarted.createFromExternalForm(form));

  chmod(state_.c_str(), 0777);
  LinuxAuthority careful(state_, propertyLists_);
  EXPECT_FALSE(careful.externalForm(self(0))) << "a folder that others can write was trusted";
  chmod(state_.c_str(), 0700);
}

TEST_F(LinuxAuthorityTest, ADamagedDatabaseGrantsNothing) {
  authority_.externalForm(self(0));
  FILE* file = fopen((state_ + "/rights.plist").c_str(), "w");
  fputs("{ \"everybody's\" = ", file);
  fclose(file);
  EXPECT_EQ(ask(1000, "everybody's"), AuthorizationStatus::denied);
}

TEST(PeerIdentity, IsTheSameWithAndWithoutTheKernelsHandle) {
  const test::SocketPair pair;
  const PeerIdentity self{getuid(), getpid(), *startTimeOfProcess(getpid())};
  EXPECT_EQ(identityOfPeer(pair.first.get()), self);
  EXPECT_EQ(identityOfPeer(pair.first.get(), /*askForHandle=*/false), self);
}

}  // namespace
}  // namespace qrt
