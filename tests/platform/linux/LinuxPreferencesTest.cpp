#include "platform/Preferences.h"

#include <pwd.h>

#include <future>

#include "platform/PropertyLists.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/PlantedFile.h"

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
    const auto* account = getpwnam("nobody");
    if (geteuid() != 0 || !account) GTEST_SKIP() << "needs root and the account nobody";
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
  PropertyValue read(const std::string& path) {
    const auto text = contentsOf(path);
    return readPropertyList(Data(text.begin(), text.end())).value();
  }
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
  const PreferenceSelector current{Kind::current}, box{Kind::named, "box"};
  const auto common = root.path("etc/GNUstep/"), ofUser = defaults + "/";
  const std::pair<PreferenceDomain, std::string> cases[] = {
      {{"app", nobody, {any}}, ofUser + "app.plist"},
      {{"app", nobody, box}, ofUser + "ByHost/app.box.plist"},
      {{"a b", {any}, {any}}, common + "Defaults/a b.plist"},
      {{std::nullopt, {any}, {any}}, common + "GlobalDefaults.plist"},
      {{std::nullopt, {any}, box}, common + "Defaults/ByHost/NSGlobalDomain.box.plist"},
      {{"app", current, {any}}, root.path("root/GNUstep/Defaults/app.plist")},
  };
  const auto mask = umask(0077);
  for (const auto& [domain, file] : cases) {
    ASSERT_TRUE(preferences->setValue(domain, "key", file)) << file;
    EXPECT_EQ(read(file), (Dictionary{{"key", file}}));
  }
  umask(mask);
  EXPECT_EQ(statusOf(common + "Defaults/a b.plist").st_mode, S_IFREG | 0644u);
  // A user's file is the user's alone.
  EXPECT_EQ(statusOf(ofUser + "app.plist").st_mode, S_IFREG | 0600u);
  EXPECT_EQ(statusOf(ofUser + "app.plist").st_gid, group);
  for (const auto& path : {ofUser + "app.plist", ofUser, ofUser + "ByHost", home + "/GNUstep"}) {
    EXPECT_EQ(statusOf(path).st_uid, user) << path;
  }
}

TEST_F(LinuxPreferencesTest, RefusesNamesThatCannotBePartOfAFileName) {
  EXPECT_TRUE(set("absent", {}));
  EXPECT_FALSE(test::exists(home + "/GNUstep")) << "there was nothing to write";
  for (const auto& text : {std::string(), std::string("."), std::string(".."),
                           std::string("../app"), std::string("a\0b", 3)}) {
    const PreferenceSelector named{Kind::named, text};
    for (const PreferenceDomain& domain :
         {PreferenceDomain{text, nobody, {any}}, PreferenceDomain{"app", nobody, named},
          PreferenceDomain{"app", named, {any}}}) {
      EXPECT_FALSE(preferences->setValue(domain, "key", "value")) << text;
    }
  }
  EXPECT_FALSE(set("\x01", "value")) << "no file could hold that key";
}

TEST_F(LinuxPreferencesTest, AFileKeepsItsOwnerAndWhatIsNotChanged) {
  const auto file = defaults + "/app.plist";
  const struct {
    const char* contents;
    /// Of the key that stays; without it the file cannot be changed.
    std::optional<PropertyValue> old;
    mode_t mode;
    uid_t owner;
  } cases[] = {
      {"{ old = (1, x); }", Array{"1", "x"}, 0444, 0},
      {"old = <0aff>;", Data{0x0a, 0xff}, 0664, 4321},
      {"{ open", {}, 0600, user},
      {"{ secret = 1; }", {}, 0600, 0},
  };
  for (const auto& c : cases) {
    makeAtHome("rm -rf GNUstep; mkdir -p GNUstep/Defaults; own GNUstep");
    std::ofstream(file) << c.contents;
    ASSERT_EQ(chown(file.c_str(), c.owner, 0), 0);
    ASSERT_EQ(chmod(file.c_str(), c.mode), 0);
    EXPECT_EQ(set("new", 5), c.old.has_value()) << c.contents;
    EXPECT_EQ(statusOf(file).st_mode, S_IFREG | c.mode);
    EXPECT_EQ(statusOf(file).st_uid, c.owner);
    EXPECT_EQ(statusOf(file).st_gid, 0u);
    if (c.old) {
      EXPECT_EQ(read(file), (Dictionary{{"old", *c.old}, {"new", 5}}));
    } else {
      EXPECT_EQ(contentsOf(file), c.contents);
    }
  }
}

TEST_F(LinuxPreferencesTest, FollowsNoLinkThatTheUserPlanted) {
  const auto target = root.path("outside/Defaults/app.plist");
  root.make("mkdir -p outside/Defaults; printf precious > outside/Defaults/app.plist");
  root.make("chown -R nobody outside");
  const std::string inDefaults = "mkdir -p GNUstep/Defaults; own GNUstep; cd GNUstep/Defaults; ";
  for (const std::string& script :
       {std::string("ln -s $outside GNUstep; own GNUstep"),
        std::string("mkdir GNUstep; ln -s $outside/Defaults GNUstep/Defaults; own GNUstep"),
        std::string("mkdir -m 777 GNUstep"), std::string("touch GNUstep; own GNUstep"),
        std::string("chown 0:0 ."), inDefaults + "ln -s $outside/Defaults/app.plist .",
        inDefaults + "mkfifo app.plist; own app.plist",
        inDefaults + "mkdir app.plist; own app.plist", inDefaults + "ln -s $outside .lck"}) {
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

}  // namespace
}  // namespace qrt
