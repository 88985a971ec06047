#include "platform/Preferences.h"

#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>

#include <future>

#include "platform/linux/LinuxFacilities.h"
#include "support/PlantedFile.h"
#include "support/PropertyListText.h"

namespace qrt {
namespace {

using Kind = PreferenceSelector::Kind;
using test::contentsOf;
using test::statusOf;

constexpr Kind any = Kind::any;

/// Works with the home folder of an account that every system has, below a root of its own.
class LinuxPreferencesTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to act for other users";
    const auto* account = getpwnam("nobody");
    if (!account) GTEST_SKIP() << "needs the account nobody";
    user = account->pw_uid;
    group = account->pw_gid;
    home = root.path() + account->pw_dir;
    defaults = home + "/GNUstep/Defaults";
    root.make("mkdir -p root etc " + home);
    makeAtHome("own .");
  }

  /// In the user's home; `own` gives a hierarchy to the user.
  void makeAtHome(const std::string& script) const {
    const auto owner = std::to_string(user) + ":" + std::to_string(group);
    root.make("outside=$PWD/outside; own() { chown -hR " + owner + " $1; }; cd " + home + "; " +
              script);
  }
  std::string plantDefaults(const std::string& contents, mode_t mode, uid_t owner,
                            gid_t ownerGroup) {
    makeAtHome("rm -rf GNUstep; mkdir -p GNUstep/Defaults; own GNUstep");
    const auto path = defaults + "/app.plist";
    std::ofstream(path, std::ios::binary) << contents;
    EXPECT_EQ(chown(path.c_str(), owner, ownerGroup), 0);
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
  }

  PropertyValue read(const std::string& path) { return test::parsed(contentsOf(path)).value(); }

  bool set(const std::string& key, const std::optional<PropertyValue>& value) {
    return preferences->setValue({"app", nobody, {any}}, key, value);
  }

  const PreferenceSelector nobody{Kind::named, "nobody"};
  uid_t user = 0;
  gid_t group = 0;
  std::string home, defaults;
  const test::ScratchFolder root;
  const std::unique_ptr<Preferences> preferences = makePreferences(root.path());
};

TEST_F(LinuxPreferencesTest, TheDomainNamesTheFileAndItsOwner) {
  char host[256] = {};
  gethostname(host, sizeof host - 1);
  const PreferenceSelector current{Kind::current}, box{Kind::named, "box"};
  const struct {
    PreferenceDomain domain;
    std::string file;
  } cases[] = {
      {{"app", nobody, {any}}, defaults + "/app.plist"},
      {{std::nullopt, nobody, {any}}, defaults + "/NSGlobalDomain.plist"},
      {{"app", nobody, current}, defaults + "/ByHost/app." + host + ".plist"},
      {{"app.box", nobody, {any}}, defaults + "/app.box.plist"},
      {{"app", nobody, box}, defaults + "/ByHost/app.box.plist"},
      {{"a b", {any}, {any}}, root.path("etc/GNUstep/Defaults/a b.plist")},
      {{std::nullopt, {any}, {any}}, root.path("etc/GNUstep/GlobalDefaults.plist")},
      {{std::nullopt, {any}, box},
       root.path("etc/GNUstep/Defaults/ByHost/NSGlobalDomain.box.plist")},
      {{"app", current, {any}}, root.path("root/GNUstep/Defaults/app.plist")},
  };
  const auto mask = umask(0077);
  for (const auto& c : cases) {
    ASSERT_TRUE(preferences->setValue(c.domain, "key", c.file)) << c.file;
    EXPECT_EQ(read(c.file), (Dictionary{{"key", c.file}}));
  }
  umask(mask);
  EXPECT_EQ(statusOf(root.path("etc/GNUstep/Defaults/a b.plist")).st_mode, S_IFREG | 0644u);
  // A user's file is the user's alone.
  const auto file = defaults + "/app.plist";
  EXPECT_EQ(statusOf(file).st_mode, S_IFREG | 0600u);
  EXPECT_EQ(statusOf(file).st_gid, group);
  EXPECT_EQ(statusOf(defaults).st_mode, S_IFDIR | 0755u);
  for (const auto& path : {file, defaults, defaults + "/ByHost", home + "/GNUstep"}) {
    EXPECT_EQ(statusOf(path).st_uid, user) << path;
  }
}

TEST_F(LinuxPreferencesTest, RefusesNamesThatCannotBePartOfAFileName) {
  for (const auto& text : {std::string(), std::string("."), std::string(".."),
                           std::string("../app"), std::string("a\0b", 3)}) {
    const PreferenceSelector named{Kind::named, text};
    for (const PreferenceDomain& domain :
         {PreferenceDomain{text, nobody, {any}}, PreferenceDomain{"app", nobody, named},
          PreferenceDomain{"app", named, {any}}}) {
      EXPECT_FALSE(preferences->setValue(domain, "key", "value")) << text;
    }
  }
  EXPECT_FALSE(
      preferences->setValue({"app", {Kind::named, "no such user"}, {any}}, "key", "value"));
  EXPECT_FALSE(preferences->setValue({std::string(256, 'a'), nobody, {any}}, "key", "value"));
  EXPECT_FALSE(set("\x01", "value")) << "no file could hold that key";
  EXPECT_FALSE(test::exists(defaults + "/app.plist"));
}

TEST_F(LinuxPreferencesTest, AFileKeepsItsOwnerAndWhatIsNotChanged) {
  const struct {
    const char* contents;
    PropertyValue old;
    mode_t mode;
    uid_t owner;
    gid_t group;
  } cases[] = {
      {"<plist><dict><key>old</key><true/></dict></plist>", true, 0640, user, 1234},
      {"{ old = (1, x); }", Array{"1", "x"}, 0444, 0, 0},
      {"old = <0aff>;", Data{0x0a, 0xff}, 0664, 4321, group},
  };
  for (const auto& c : cases) {
    const auto file = plantDefaults(c.contents, c.mode, c.owner, c.group);
    EXPECT_TRUE(set("new", 5));
    EXPECT_EQ(read(file), (Dictionary{{"old", c.old}, {"new", 5}}));
    EXPECT_EQ(statusOf(file).st_mode, S_IFREG | c.mode);
    EXPECT_EQ(statusOf(file).st_uid, c.owner);
    EXPECT_EQ(statusOf(file).st_gid, c.group);
  }
}

TEST_F(LinuxPreferencesTest, RemovingAKeyTwiceSucceeds) {
  EXPECT_TRUE(set("key", {}));
  EXPECT_FALSE(test::exists(home + "/GNUstep")) << "nothing was to be kept";
  const auto file = plantDefaults("{a = 1; b = 2;}", 0600, user, group);
  const auto before = statusOf(file).st_ino;
  EXPECT_TRUE(set("absent", {}));
  EXPECT_EQ(statusOf(file).st_ino, before) << "there was nothing to write";
  EXPECT_TRUE(set("a", {}));
  EXPECT_EQ(read(file), (Dictionary{{"b", "2"}}));
}

TEST_F(LinuxPreferencesTest, SettingsThatCannotBeReadAreNotLost) {
  for (const std::string contents : {"", "{ open", "( array )"}) {
    const auto file = plantDefaults(contents, 0600, user, group);
    EXPECT_FALSE(set("key", "value")) << contents;
    EXPECT_EQ(contentsOf(file), contents);
  }
  plantDefaults("{ secret = 1; }", 0600, 0, 0);
  EXPECT_FALSE(set("key", "value")) << "its user could not have read it";
}

TEST_F(LinuxPreferencesTest, FollowsNoLinkThatTheUserPlanted) {
  const auto target = root.path("outside/Defaults/app.plist");
  root.make("mkdir -p outside/Defaults; printf precious > outside/Defaults/app.plist");
  root.make("chown -R nobody outside");
  const std::string inDefaults = "mkdir -p GNUstep/Defaults; own GNUstep; cd GNUstep/Defaults; ";
  for (const auto& script : {
           std::string("ln -s $outside GNUstep; own GNUstep"),
           std::string("mkdir GNUstep; ln -s $outside/Defaults GNUstep/Defaults; own GNUstep"),
           inDefaults + "ln -s $outside/Defaults/app.plist .; own app.plist",
           std::string("mkdir -m 777 GNUstep"),
           std::string("touch GNUstep; own GNUstep"),
           inDefaults + "mkfifo -m 666 app.plist; own app.plist",
           inDefaults + "mkdir -m 777 app.plist; own app.plist",
           inDefaults + "ln -s $outside .lck; own .lck",
           std::string("chown 0:0 ."),
       }) {
    makeAtHome(script);
    EXPECT_FALSE(set("key", "value")) << script;
    EXPECT_EQ(contentsOf(target), "precious") << script;
    makeAtHome("rm -rf GNUstep; own .");
  }
  EXPECT_FALSE(test::exists(root.path("outside/.GNUstepDefaults.lck")));
  // A link at the temporary name is not followed either.
  makeAtHome(inDefaults + "ln -s $outside/Defaults/app.plist .app.plist.new; own .");
  EXPECT_TRUE(set("key", "value"));
  EXPECT_EQ(contentsOf(target), "precious");
  EXPECT_EQ(statusOf(defaults + "/app.plist").st_mode, S_IFREG | 0600u);
}

TEST_F(LinuxPreferencesTest, ChangesAtTheSameTimeAreAllKept) {
  constexpr int threads = 4, keys = 10;
  std::future<void> workers[threads];
  for (int t = 0; t < threads; ++t) {
    workers[t] = std::async(std::launch::async, [this, t] {
      for (int k = 0; k < keys; ++k) EXPECT_TRUE(set(std::to_string(t * keys + k), t));
    });
  }
  for (auto& worker : workers) worker.get();
  EXPECT_EQ(read(defaults + "/app.plist").dictionary()->size(), threads * keys);
  EXPECT_EQ(rmdir((defaults + "/.lck").c_str()), 0) << "a lock was left";
}

TEST_F(LinuxPreferencesTest, WaitsForALockAndRemovesAnAbandonedOne) {
  const auto lock = defaults + "/.lck/.GNUstepDefaults.lck";
  makeAtHome("mkdir -p " + lock + "; own GNUstep");
  auto change = std::async(std::launch::async, [this] { return set("key", 1); });
  EXPECT_EQ(change.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  EXPECT_EQ(rmdir(lock.c_str()), 0);
  EXPECT_TRUE(change.get());

  makeAtHome("mkdir " + lock + "; own GNUstep; touch -d '1 minute ago' " + lock);
  EXPECT_TRUE(set("key", 2));
  EXPECT_FALSE(test::exists(lock));
}

TEST_F(LinuxPreferencesTest, TheDefaultsToolReadsThemAsTheUser) {
  if (!test::run({"defaults", "domains"})) GTEST_SKIP() << "needs GNUstep's defaults";
  // An account of its own, whose home the tool finds in the password database.
  const auto database = root.file(
      "passwd", contentsOf("/etc/passwd") + "qrttest:x:47110:47110::" + home + ":/bin/sh\n");
  const bool isPlanted = unshare(CLONE_NEWNS) == 0 &&
                         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         mount(database.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) == 0 &&
                         mount("none", "/etc/GNUstep", "tmpfs", 0, nullptr) == 0;
  if (!isPlanted) GTEST_SKIP() << "needs the right to mount";
  ASSERT_EQ(chown(home.c_str(), 47110, 47110), 0);

  const auto system = makePreferences("/");
  const PreferenceSelector townsman{Kind::named, "qrttest"};
  const auto modify = [&](const std::string& key, std::optional<PropertyValue> value) {
    return system->setValue({"Town", townsman, {any}}, key, value);
  };
  const std::string tool = "setpriv --reuid 47110 --regid 47110 --clear-groups defaults ";
  EXPECT_TRUE(modify("streets", Array{"Main St", Dictionary{{"length", 12}}}));
  EXPECT_EQ(test::printed(tool + "read Town streets | tr -d ' \\n\\t'"),
            "Townstreets'(\"MainSt\",{length=12;})'");
  EXPECT_TRUE(test::run({"sh", "-c", tool + "write Town mayor Ann"}));
  EXPECT_TRUE(modify("river", "Elbe"));
  EXPECT_EQ(test::printed(tool + "read Town mayor; " + tool + "read Town river"),
            "Town mayor Ann\nTown river Elbe\n");
  EXPECT_TRUE(modify("mayor", {}));
  EXPECT_EQ(test::printed(tool + "read Town mayor 2>/dev/null"), "");

  // Settings of every application: the tool's name for any user's is that of its configuration.
  EXPECT_TRUE(system->setValue({std::nullopt, townsman, {any}}, "own", "1"));
  EXPECT_TRUE(system->setValue({std::nullopt, {any}, {any}}, "common", "2"));
  EXPECT_EQ(test::printed(tool + "read NSGlobalDomain own; " + tool + "read GSConfigDomain common"),
            "NSGlobalDomain own 1\nGSConfigDomain common 2\n");
  umount2("/etc/GNUstep", MNT_DETACH);
  umount2("/etc/passwd", MNT_DETACH);
}

}  // namespace
}  // namespace qrt
