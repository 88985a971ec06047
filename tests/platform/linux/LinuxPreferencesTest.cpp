#include "platform/linux/LinuxPreferences.h"

#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>

#include <chrono>
#include <thread>

#include "platform/posix/BoundedPropertyLists.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using Kind = PreferenceSelector::Kind;
using test::contentsOf;
using test::statusOf;

constexpr PreferenceSelector::Kind any = Kind::any;

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
    ASSERT_TRUE(test::run({"mkdir", "-p", home, root.path("etc")}));
    give(home);
  }

  void give(const std::string& path) const { ASSERT_EQ(lchown(path.c_str(), user, group), 0); }

  /// In the user's home; `own` gives what was made to the user.
  void makeAtHome(const std::string& script) const {
    const auto owner = std::to_string(user) + ":" + std::to_string(group);
    root.make("outside=$PWD/outside; own() { chown -hR " + owner + " GNUstep; }; cd " + home +
              "; " + script);
  }
  std::string plantDefaults(const std::string& contents, mode_t mode, uid_t owner,
                            gid_t ownerGroup) {
    makeAtHome("mkdir -p GNUstep/Defaults; own");
    const auto path = home + "/GNUstep/Defaults/app.plist";
    std::ofstream(path, std::ios::binary) << contents;
    EXPECT_EQ(chown(path.c_str(), owner, ownerGroup), 0);
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
  }

  Dictionary read(const std::string& path) {
    const auto text = contentsOf(path);
    const auto list =
        lists.parse({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    if (list && list->dictionary()) return *list->dictionary();
    ADD_FAILURE() << path << " holds no dictionary: " << text;
    return {};
  }

  bool set(const std::string& key, std::optional<PropertyValue> value,
           std::optional<std::string> application = "app") {
    return preferences.setValue({std::move(application), nobody, {any}}, key, value);
  }

  const PreferenceSelector nobody{Kind::named, "nobody"};
  uid_t user = 0;
  gid_t group = 0;
  std::string home;
  const test::ScratchFolder root;
  BoundedPropertyLists lists;
  LinuxPreferences preferences{root.path(), lists};
};

TEST_F(LinuxPreferencesTest, ANewFileIsItsUsersAlone) {
  const auto mask = umask(0077);
  EXPECT_TRUE(set("key", Array{"a", 1}));
  umask(mask);
  const auto file = home + "/GNUstep/Defaults/app.plist";
  EXPECT_EQ(read(file), (Dictionary{{"key", Array{"a", 1}}}));
  EXPECT_EQ(statusOf(file).st_mode, S_IFREG | 0600u);
  EXPECT_EQ(statusOf(file).st_gid, group);
  for (const auto* name : {"/GNUstep/Defaults/app.plist", "/GNUstep/Defaults", "/GNUstep"}) {
    EXPECT_EQ(statusOf(home + name).st_uid, user) << name;
  }
  EXPECT_EQ(statusOf(home + "/GNUstep/Defaults").st_mode, S_IFDIR | 0755u);
}

TEST_F(LinuxPreferencesTest, TheDomainNamesTheFile) {
  char name[256] = {};
  gethostname(name, sizeof name - 1);
  const std::string host = name;
  const PreferenceSelector currentUser{Kind::current};
  const PreferenceSelector otherHost{Kind::named, "box"};
  ASSERT_TRUE(test::run({"mkdir", "-p", root.path("root")}));
  const struct {
    PreferenceDomain domain;
    std::string file;
  } cases[] = {
      {{"app", nobody, {any}}, home + "/GNUstep/Defaults/app.plist"},
      {{std::nullopt, nobody, {any}}, home + "/GNUstep/Defaults/NSGlobalDomain.plist"},
      {{"app", nobody, {Kind::current}}, home + "/GNUstep/Defaults/app." + host + ".plist"},
      {{"app", nobody, otherHost}, home + "/GNUstep/Defaults/app.box.plist"},
      {{"a b", {any}, {any}}, root.path("etc/GNUstep/Defaults/a b.plist")},
      {{std::nullopt, {any}, otherHost},
       root.path("etc/GNUstep/Defaults/NSGlobalDomain.box.plist")},
      {{"app", currentUser, {any}}, root.path("root/GNUstep/Defaults/app.plist")},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(preferences.setValue(c.domain, "key", "value")) << c.file;
    EXPECT_EQ(read(c.file), (Dictionary{{"key", "value"}}));
  }
  EXPECT_EQ(statusOf(root.path("etc/GNUstep/Defaults/a b.plist")).st_mode, S_IFREG | 0644u);
}

TEST_F(LinuxPreferencesTest, WhatCannotBePartOfANameHasNoSettings) {
  const std::string bad[] = {"", ".", "..", "/", "a/b", "../app", std::string("a\0b", 3)};
  for (const auto& text : bad) {
    const PreferenceSelector named{Kind::named, text};
    for (const PreferenceDomain& domain :
         {PreferenceDomain{text, nobody, {any}}, PreferenceDomain{"app", nobody, named},
          PreferenceDomain{"app", named, {any}}}) {
      EXPECT_FALSE(preferences.setValue(domain, "key", "value")) << text;
    }
  }
  EXPECT_FALSE(preferences.setValue({"app", {Kind::named, "no such user"}, {any}}, "key", "value"));
  EXPECT_FALSE(set("key", "value", std::string(256, 'a')));
  EXPECT_FALSE(set("\x01", "value")) << "no file could hold that key";
  EXPECT_FALSE(test::exists(home + "/GNUstep/Defaults/app.plist"));
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
    makeAtHome("rm -r GNUstep");
  }
}

TEST_F(LinuxPreferencesTest, AKeyIsRemovedAndAnAbsentOneIsNone) {
  EXPECT_TRUE(set("key", {}));
  EXPECT_FALSE(test::exists(home + "/GNUstep")) << "nothing was to be kept";
  const auto file = plantDefaults("{a = 1; b = 2;}", 0600, user, group);
  const auto before = statusOf(file);
  EXPECT_TRUE(set("absent", {}));
  EXPECT_EQ(statusOf(file).st_ino, before.st_ino) << "there was nothing to write";
  EXPECT_TRUE(set("a", {}));
  EXPECT_EQ(read(file), (Dictionary{{"b", "2"}}));
}

TEST_F(LinuxPreferencesTest, SettingsThatCannotBeReadAreNotLost) {
  for (const std::string contents : {"", "{ open", "( array )", "\xff\xfe\xff"}) {
    const auto file = plantDefaults(contents, 0600, user, group);
    EXPECT_FALSE(set("key", "value")) << contents;
    EXPECT_EQ(contentsOf(file), contents);
    EXPECT_TRUE(test::run({"rm", "-r", home + "/GNUstep"}));
  }
  plantDefaults("{ secret = 1; }", 0600, 0, 0);
  EXPECT_FALSE(set("key", "value")) << "its user could not have read it";
}

TEST_F(LinuxPreferencesTest, NothingPlantedLeadsAnywhereElse) {
  const auto target = root.path("outside/Defaults/app.plist");
  root.make("mkdir -p outside/Defaults; printf precious > outside/Defaults/app.plist");
  root.make("chown -R nobody outside");
  const std::string inDefaults = "mkdir -p GNUstep/Defaults; cd GNUstep/Defaults; ";
  for (const auto& script : {
           std::string("ln -s $outside GNUstep; own"),
           std::string("mkdir GNUstep; ln -s $outside/Defaults GNUstep/Defaults; own"),
           inDefaults + "ln -s $outside/Defaults/app.plist .; cd ../..; own",
           std::string("mkdir -m 777 GNUstep"),
           std::string("touch GNUstep; own"),
           inDefaults + "mkfifo -m 666 app.plist; cd ../..; own",
           inDefaults + "mkdir -m 777 app.plist; cd ../..; own",
           inDefaults + "ln -s $outside .lck; cd ../..; own",
           std::string("chown 0:0 ."),
       }) {
    makeAtHome(script);
    EXPECT_FALSE(set("key", "value")) << script;
    EXPECT_EQ(contentsOf(target), "precious") << script;
    makeAtHome("rm -rf GNUstep");
    give(home);
  }
  EXPECT_FALSE(test::exists(root.path("outside/.GNUstepDefaults.lck")));
  // What lies at the temporary name is not written through either.
  makeAtHome(inDefaults + "ln -s $outside/Defaults/app.plist .app.plist.new; cd ../..; own");
  EXPECT_TRUE(set("key", "value"));
  EXPECT_EQ(contentsOf(target), "precious");
  EXPECT_EQ(statusOf(home + "/GNUstep/Defaults/app.plist").st_mode, S_IFREG | 0600u);
}

TEST_F(LinuxPreferencesTest, ChangesAtTheSameTimeAreAllKept) {
  constexpr int threads = 4;
  constexpr int keys = 10;
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t) {
    workers.emplace_back([this, t] {
      for (int k = 0; k < keys; ++k) EXPECT_TRUE(set(std::to_string(t * keys + k), t));
    });
  }
  for (auto& worker : workers) worker.join();
  EXPECT_EQ(read(home + "/GNUstep/Defaults/app.plist").size(), threads * keys);
  EXPECT_TRUE(test::run({"rmdir", home + "/GNUstep/Defaults/.lck"})) << "a lock was left";
  EXPECT_EQ(statusOf(home + "/GNUstep/Defaults").st_nlink, 2u);
}

TEST_F(LinuxPreferencesTest, ALockIsWaitedForUnlessItWasAbandoned) {
  const auto lock = home + "/GNUstep/Defaults/.lck/.GNUstepDefaults.lck";
  makeAtHome("mkdir -p " + lock + "; own");
  const auto start = std::chrono::steady_clock::now();
  std::thread holder([&lock] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    rmdir(lock.c_str());
  });
  EXPECT_TRUE(set("key", 1));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  holder.join();

  makeAtHome("mkdir " + lock + "; own; touch -d '1 minute ago' " + lock);
  EXPECT_TRUE(set("key", 2));
  EXPECT_FALSE(test::exists(lock));
}

TEST_F(LinuxPreferencesTest, TheToolOfThoseDefaultsSeesThemAsItsUser) {
  if (!test::run({"defaults", "domains"})) GTEST_SKIP() << "needs GNUstep's defaults";
  // An account of its own, whose home the tool finds in the password database.
  const auto database = root.file(
      "passwd", contentsOf("/etc/passwd") + "qrttest:x:47110:47110::" + home + ":/bin/sh\n");
  const bool isPlanted = unshare(CLONE_NEWNS) == 0 &&
                         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         mount(database.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) == 0;
  if (!isPlanted) GTEST_SKIP() << "needs the right to mount";
  ASSERT_EQ(chown(home.c_str(), 47110, 47110), 0);

  LinuxPreferences system{"/", lists};
  const auto modify = [&system](const std::string& key, std::optional<PropertyValue> value) {
    return system.setValue({"Town", {Kind::named, "qrttest"}, {any}}, key, value);
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
  umount2("/etc/passwd", MNT_DETACH);
}

}  // namespace
}  // namespace qrt
