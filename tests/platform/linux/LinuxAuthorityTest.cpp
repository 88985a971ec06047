#include "platform/linux/authority/LinuxAuthority.h"

#include <gmock/gmock.h>

#include "platform/PolkitAction.h"
#include "support/PlantedFile.h"
#include "support/RecordingLog.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

using test::contentsOf;
using test::statusOf;
using testing::HasSubstr;

class LinuxAuthorityTest : public testing::Test {
 protected:
  LinuxAuthorityTest() {
    scratch_.make("mkdir -p usr/share proc/sys/kernel/random");
    boot("one");
  }
  void boot(const std::string& identifier) {
    scratch_.file("proc/sys/kernel/random/boot_id", identifier + "\n");
  }
  PeerIdentity self(std::uint32_t user) const {
    return {user, static_cast<std::int32_t>(getpid()), *startTimeOfProcess(getpid())};
  }
  AuthorizationStatus ask(std::uint32_t user, const std::string& right) {
    const auto form = authority_.externalForm(self(user));
    auto reference = authority_.createFromExternalForm({}, *form, log_);
    return reference ? (*reference)->copyRight({right, ""}, {0, nullptr}, 3) : reference.error();
  }
  AuthorizationStatus set(const std::string& name, const PropertyValue& definition) {
    return authority_.rightSet(**reference_, name, definition, "A <b> & \"c\"\n", "Table");
  }

  test::ScratchFolder scratch_;
  const std::string actions_ = scratch_.path("usr/share/polkit-1/actions/");
  const std::string state_ = scratch_.path("state");
  test::RecordingLog log_;
  LinuxAuthority authority_{scratch_.path(), state_};
  const Result<std::unique_ptr<Authorization>, AuthorizationStatus> reference_ =
      authority_.create();
};

/// As root, who may write rights.
class LinuxRightsTest : public LinuxAuthorityTest {
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "writing rights needs root";
  }
};

TEST(PeerIdentity, IsOfASocketThatHasAPeer) {
  EXPECT_FALSE(userOfPeer(-1) || identityOfPeer(-1) || processOf(callerAt(-1, 0)));
  const test::SocketPair pair;
  EXPECT_EQ(identityOfPeer(pair.first.get(), false)->processID, getpid());
}

constexpr auto granted = AuthorizationStatus::noError;
constexpr auto denied = AuthorizationStatus::denied;

TEST_F(LinuxRightsTest, RootHasAllRightsOtherUsersThoseThatAllow) {
  EXPECT_EQ(authority_.rightGet("everybodys"), denied);
  EXPECT_EQ(set("everybodys", "allow"), granted);
  EXPECT_EQ(set("admins", "authenticate-admin"), granted);
  EXPECT_EQ(set("default", Dictionary{{"rule", "default"}}), granted);
  EXPECT_EQ(set("tooLarge", std::string(1 << 20, 'x')), AuthorizationStatus::internal)
      << "the database could not be read again";
  const struct {
    std::uint32_t user;
    const char* right;
    AuthorizationStatus status;
  } cases[] = {{1000, "everybodys", granted}, {1000, "admins", denied}, {1000, "default", denied},
               {1000, "unknown", denied},     {0, "admins", granted},   {0, "unknown", granted}};
  for (const auto& c : cases) EXPECT_EQ(ask(c.user, c.right), c.status) << c.user << c.right;
  // Another process has the same database.
  LinuxAuthority other(scratch_.path(), state_);
  EXPECT_EQ(other.rightRemove(**reference_, "everybodys"), granted);
  EXPECT_EQ(ask(1000, "everybodys"), denied);
}

TEST_F(LinuxRightsTest, ADamagedDatabaseGrantsNothing) {
  ASSERT_EQ(set("right", "allow"), granted);
  for (const auto* text : {"(", "<array/>", "{right = allow;}", "{right = {};}"}) {
    scratch_.file("state/rights.plist", text);
    EXPECT_EQ(ask(1000, "right"), denied) << text;
  }
  scratch_.make("rm state/rights.plist; mkdir state/rights.plist");
  EXPECT_EQ(set("right", "allow"), AuthorizationStatus::internal);
}

TEST_F(LinuxRightsTest, EachRightIsAnActionOfPolkit) {
  ASSERT_EQ(set("com.example.open", "allow"), granted);
  const auto open = actions_ + "com.example.open.policy";
  EXPECT_THAT(contentsOf(open), HasSubstr("<message>A &lt;b> &amp; \"c\" </message>"));
  EXPECT_EQ(statusOf(open).st_mode, S_IFREG | 0644u);
  // An administrator's change stays.
  std::ofstream(open) << "changed";
  EXPECT_EQ(set("com.example.open", "allow"), granted);
  EXPECT_EQ(contentsOf(open), "changed");
  EXPECT_EQ(authority_.rightRemove(**reference_, "com.example.open"), granted);
  EXPECT_EQ(rmdir(actions_.c_str()), 0) << "something is left";
  for (const auto* name : {"", ".hidden", "../../escaped", "a b", "a{", "a[", "a:"}) {
    EXPECT_EQ(set(name, "allow"), AuthorizationStatus::internal) << name;
  }
  for (const auto* script :
       {"rm -r usr/share/polkit-1; touch usr/share/polkit-1", "rm -r usr/share"}) {
    scratch_.make(script);
    EXPECT_EQ(set("com.example.open", "allow"), AuthorizationStatus::internal) << script;
  }
}

TEST_F(LinuxRightsTest, APackagesRightsCountAndStay) {
  ASSERT_EQ(set("com.example.own", "allow"), granted);
  scratch_.file("usr/share/polkit-1/actions/com.vantor.vk2.policy",
                polkitActionFile(polkitAction("com.example.admins", Dictionary{}, "A") +
                                 polkitAction("com.example.open", "allow", "B")));
  EXPECT_EQ(authority_.packagedRights(),
            scratch_.path() + "/usr/share/polkit-1/actions/com.vantor.vk2.policy");
  for (const auto* right : {"com.example.admins", "com.example.open"}) {
    EXPECT_EQ(authority_.rightRemove(**reference_, right), granted);
    EXPECT_EQ(authority_.rightGet(right), granted) << right;
  }
  EXPECT_EQ(ask(1000, "com.example.open"), granted);
  EXPECT_EQ(ask(1000, "com.example.admins"), denied);
  EXPECT_EQ(authority_.rightRemove(**reference_, "com.example.own"), granted);
  EXPECT_EQ(authority_.rightGet("com.example.own"), denied);
}

TEST(RememberedGrants, EndByThemselvesAndOnDemand) {
  using std::chrono::seconds;
  RememberedGrants grants;
  const RememberedGrants::Clock::time_point start{};
  const PeerIdentity one{1000, 10, 100}, successor{1000, 10, 101};
  grants.add(one, "right", start);
  grants.add(successor, "other", start);
  EXPECT_TRUE(grants.contains(one, "right", start + seconds(299)));
  EXPECT_FALSE(grants.contains(one, "right", start + seconds(300)));
  EXPECT_FALSE(grants.contains(one, "other", start) || grants.contains(successor, "right", start));
  grants.forget(one);
  EXPECT_FALSE(grants.contains(one, "right", start));
  EXPECT_TRUE(grants.contains(successor, "other", start));
  for (std::size_t i = 0; i < RememberedGrants::maximumKept; ++i) grants.add(one, "more", start);
  EXPECT_FALSE(grants.contains(successor, "other", start)) << "nothing was forgotten";
}

TEST_F(LinuxAuthorityTest, EveryChangedByteBreaksTheSeal) {
  const auto form = *authority_.externalForm(self(0));
  ASSERT_TRUE(authority_.createFromExternalForm({}, form, log_));
  for (std::size_t i = 0; i < form.size(); ++i) {
    auto forged = form;
    forged[i] ^= 1;
    EXPECT_EQ(authority_.createFromExternalForm({}, forged, log_).error(),
              AuthorizationStatus::internalizeNotAllowed)
        << i;
  }
  test::ScratchFolder elsewhere;
  LinuxAuthority stranger(scratch_.path(), elsewhere.path() + "/state");
  EXPECT_FALSE(stranger.createFromExternalForm({}, form, log_));
}

TEST_F(LinuxAuthorityTest, AFormDiesWithItsProcess) {
  const pid_t child = fork();
  if (child == 0) _exit(static_cast<int>(sleep(60)));
  const auto form = *authority_.externalForm({0, child, *startTimeOfProcess(child)});
  EXPECT_TRUE(authority_.createFromExternalForm({}, form, log_));
  kill(child, SIGKILL);
  siginfo_t ended;
  waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
  EXPECT_FALSE(openProcess({0, child, *startTimeOfProcess(child)})) << "a zombie";
  waitpid(child, nullptr, 0);
  EXPECT_FALSE(authority_.createFromExternalForm({}, form, log_));
  // The same number in another life.
  auto successor = self(0);
  ++successor.startTime;
  EXPECT_FALSE(authority_.createFromExternalForm({}, *authority_.externalForm(successor), log_));
}

TEST_F(LinuxAuthorityTest, AFormOfAnEarlierBootIsNotAccepted) {
  const auto form = *authority_.externalForm(self(0));
  scratch_.file("proc/sys/kernel/random/boot_id");
  EXPECT_FALSE(LinuxAuthority(scratch_.path(), state_).externalForm(self(0)));
  for (const auto* identifier : {"two", "", "one"}) {
    boot(identifier);
    EXPECT_EQ(bool(LinuxAuthority(scratch_.path(), state_).createFromExternalForm({}, form, log_)),
              identifier == std::string("one"))
        << identifier;
  }
}

TEST_F(LinuxAuthorityTest, TheKeyIsPrivateAndIsKept) {
  const auto form = *authority_.externalForm(self(0));
  const auto key = statusOf(state_ + "/authorization.key");
  EXPECT_EQ(key.st_mode, S_IFREG | 0600u);
  EXPECT_EQ(key.st_size, 32);
  EXPECT_TRUE(LinuxAuthority(scratch_.path(), state_).createFromExternalForm({}, form, log_));
  scratch_.file("state/authorization.key", "short");
  EXPECT_FALSE(LinuxAuthority(scratch_.path(), state_).createFromExternalForm({}, form, log_));
  EXPECT_EQ(statusOf(state_ + "/authorization.key").st_size, 32);
  for (const auto* script : {"rm state/*; mkdir state/authorization.key", "chmod 0777 state",
                             "[ $(id -u) != 0 ] || { chmod 0700 state; chown 1 state; }"}) {
    scratch_.make(script);
    EXPECT_FALSE(LinuxAuthority(scratch_.path(), state_).externalForm(self(0))) << script;
    EXPECT_FALSE(LinuxAuthority(scratch_.path(), state_).createFromExternalForm({}, form, log_));
  }
}

}  // namespace
}  // namespace qrt
