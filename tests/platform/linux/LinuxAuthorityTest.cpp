#include "platform/linux/LinuxAuthority.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "platform/posix/BoundedPropertyLists.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

class LinuxAuthorityTest : public testing::Test {
 protected:
  LinuxAuthorityTest() {
    scratch_.folder("usr");
    scratch_.folder("usr/share");
  }

  test::ScratchFolder scratch_;
  std::string actions_ = scratch_.path() + "/usr/share/polkit-1/actions/";
  std::string state_ = scratch_.path() + "/state";
  BoundedPropertyLists propertyLists_;
  test::RecordingLog log_;
  LinuxAuthority authority_{scratch_.path(), state_, propertyLists_, log_};

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
  EXPECT_EQ(authority_.rightGet("everybodys"), AuthorizationStatus::denied);
  for (const auto& [name, definition] :
       {std::pair<std::string, PropertyValue>{"everybodys", "allow"},
        {"admins", "authenticate-admin"},
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
  for (const auto& c : {Case{1000, "everybodys", AuthorizationStatus::noError},
                        Case{1000, "admins", AuthorizationStatus::denied},
                        Case{1000, "default", AuthorizationStatus::denied},
                        Case{1000, "unknown", AuthorizationStatus::denied},
                        Case{0, "admins", AuthorizationStatus::noError},
                        Case{0, "unknown", AuthorizationStatus::noError}}) {
    EXPECT_EQ(ask(c.user, c.right), c.status) << c.user << " " << c.right;
  }
  // Another process's view of the same database.
  LinuxAuthority other(scratch_.path(), state_, propertyLists_, log_);
  EXPECT_EQ(other.rightRemove(**reference, "everybodys"), AuthorizationStatus::noError);
  EXPECT_EQ(ask(1000, "everybodys"), AuthorizationStatus::denied);
}

TEST_F(LinuxAuthorityTest, ARightIsAnActionOfPolkitAsWell) {
  if (geteuid() != 0) GTEST_SKIP() << "writing rights needs root";
  const auto reference = authority_.create();
  const auto set = [&](const std::string& name, const PropertyValue& definition) {
    return authority_.rightSet(**reference, name, definition, "A <b> & \"c\"\n", "Table");
  };
  ASSERT_EQ(set("com.example.open", "allow"), AuthorizationStatus::noError);
  ASSERT_EQ(set("com.example.shut", "authenticate-admin"), AuthorizationStatus::noError);
  const auto text = [&](const std::string& name) {
    std::ifstream file(actions_ + name + ".policy");
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  EXPECT_THAT(text("com.example.open"), testing::HasSubstr("<allow_any>yes</allow_any>"));
  EXPECT_THAT(text("com.example.open"),
              testing::HasSubstr("<message>A &lt;b> &amp; \"c\" </message>"));
  EXPECT_THAT(text("com.example.shut"), testing::HasSubstr("<allow_any>auth_admin</allow_any>"));
  struct stat status;
  ASSERT_EQ(stat((actions_ + "com.example.open.policy").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0644u);

  // What an administrator changed stays; what is missing comes back.
  scratch_.file("usr/share/polkit-1/actions/com.example.open.policy", "changed");
  unlink((actions_ + "com.example.shut.policy").c_str());
  EXPECT_EQ(authority_.rightGet("com.example.shut"), AuthorizationStatus::denied);
  EXPECT_EQ(set("com.example.open", "allow"), AuthorizationStatus::noError);
  EXPECT_EQ(set("com.example.shut", "allow"), AuthorizationStatus::noError);
  EXPECT_EQ(text("com.example.open"), "changed");
  EXPECT_EQ(authority_.rightGet("com.example.shut"), AuthorizationStatus::noError);
  EXPECT_EQ(ask(1000, "com.example.shut"), AuthorizationStatus::denied);

  for (const std::string name : {"com.example.open", "com.example.shut"}) {
    EXPECT_EQ(authority_.rightRemove(**reference, name), AuthorizationStatus::noError);
    EXPECT_EQ(authority_.rightGet(name), AuthorizationStatus::denied);
  }
  EXPECT_EQ(rmdir(actions_.c_str()), 0) << "something is left";
  for (const std::string name : {"", ".hidden", "../../escaped", "a b"}) {
    EXPECT_EQ(set(name, "allow"), AuthorizationStatus::internal) << name;
  }
}

TEST(RememberedGrants, EndByThemselvesAndOnDemand) {
  using std::chrono::seconds;
  RememberedGrants grants;
  const RememberedGrants::Clock::time_point start{};
  const PeerIdentity one{1000, 10, 100};
  const PeerIdentity successor{1000, 10, 101};
  grants.add(one, "right", start);
  grants.add(successor, "other", start);
  EXPECT_TRUE(grants.contains(one, "right", start + seconds(299)));
  EXPECT_FALSE(grants.contains(one, "right", start + seconds(300)));
  EXPECT_FALSE(grants.contains(one, "other", start));
  EXPECT_FALSE(grants.contains(successor, "right", start));
  grants.forget(one);
  EXPECT_FALSE(grants.contains(one, "right", start));
  EXPECT_TRUE(grants.contains(successor, "other", start));
  for (std::size_t i = 0; i < RememberedGrants::maximumKept; ++i) grants.add(one, "more", start);
  EXPECT_FALSE(grants.contains(successor, "other", start)) << "nothing was forgotten";
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
  LinuxAuthority stranger(elsewhere.path(), elsewhere.path() + "/state", propertyLists_, log_);
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
  LinuxAuthority restarted(scratch_.path(), state_, propertyLists_, log_);
  EXPECT_TRUE(restarted.createFromExternalForm(form));

  chmod(state_.c_str(), 0777);
  LinuxAuthority careful(scratch_.path(), state_, propertyLists_, log_);
  EXPECT_FALSE(careful.externalForm(self(0))) << "a folder that others can write was trusted";
  chmod(state_.c_str(), 0700);
}

TEST_F(LinuxAuthorityTest, ADamagedDatabaseGrantsNothing) {
  authority_.externalForm(self(0));
  FILE* file = fopen((state_ + "/rights.plist").c_str(), "w");
  fputs("{ \"everybodys\" = ", file);
  fclose(file);
  EXPECT_EQ(ask(1000, "everybodys"), AuthorizationStatus::denied);
}

TEST(PeerIdentity, IsTheSameWithAndWithoutTheKernelsHandle) {
  const test::SocketPair pair;
  const PeerIdentity self{getuid(), getpid(), *startTimeOfProcess(getpid())};
  EXPECT_EQ(identityOfPeer(pair.first.get()), self);
  EXPECT_EQ(identityOfPeer(pair.first.get(), /*askForHandle=*/false), self);
}

}  // namespace
}  // namespace qrt
