#include "platform/SystemConfiguration.h"

#include <future>

#include "platform/KernelSettings.h"
#include "platform/PropertyLists.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::contentsOf;

class LinuxKernelSettingsTest : public testing::Test {
 protected:
  const test::ScratchFolder root;
  const std::unique_ptr<KernelSettings> settings = makeKernelSettings(root.path());
};

TEST_F(LinuxKernelSettingsTest, ReachesNothingOutsideItsFolder) {
  const auto outside = test::plant(root, "proc/outside");
  test::plant(root, "proc/sys/kernel/limit");
  root.link("proc/sys/folderlink", root.path("proc"));
  root.link("proc/sys/filelink", outside);
  for (const auto* name : {"..", "//.outside", "/", "outside.", "kernel..limit", "kernel.//.limit",
                           "kernel///outside"}) {
    EXPECT_EQ(settings->write(name, 1), PosixCode::noEntry) << name;
  }
  EXPECT_EQ(settings->write(std::string("kernel.limit\0x", 14), 1), PosixCode::noEntry);
  EXPECT_EQ(settings->write("filelink", 1), PosixCode::tooManyLinks);
  EXPECT_EQ(settings->write("folderlink.outside", 1), PosixCode::notDirectory);
  EXPECT_EQ(settings->write("kernel", 1), PosixCode::isDirectory);
  EXPECT_EQ(contentsOf(outside), "");
}

class LinuxSystemConfigurationTest : public testing::Test {
 protected:
  LinuxSystemConfigurationTest() { root.folder("etc"); }

  /// What a request does with one value.
  bool change(const std::string& identifier, const std::string& key, const PropertyValue& value) {
    const auto session = configuration->open("client", identifier);
    const bool isDone = session && session->lock() && session->setValue(key, value) &&
                        session->applyChanges() && session->commitChanges();
    if (session) session->unlock();
    return isDone;
  }

  const test::ScratchFolder root;
  const std::unique_ptr<KernelSettings> kernel = makeKernelSettings(root.path());
  const std::unique_ptr<SystemConfiguration> configuration =
      makeSystemConfiguration(root.path("etc/service"), root.path(), *kernel);
};

TEST_F(LinuxSystemConfigurationTest, KeepsValuesUnlessTheyCannotBeReadOrHeld) {
  EXPECT_TRUE(change("", "key", "a"));
  EXPECT_FALSE(change("", "unwritable", "\x01"));
  const auto session = configuration->open("client", "");
  ASSERT_TRUE(session->lock() && session->setValue("key", 1) && session->applyChanges());
  auto waiting = std::async(std::launch::async, [this] { return change("", "third", "c"); });
  EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  session->unlock();
  EXPECT_TRUE(waiting.get());
  const auto text = contentsOf(root.path("etc/service/preferences.plist"));
  EXPECT_EQ(readPropertyList(Data(text.begin(), text.end())).value(),
            (Dictionary{{"key", "a"}, {"third", "c"}}));
  const auto damaged = root.file("etc/service/damaged.plist", "{ open");
  EXPECT_FALSE(change("damaged.plist", "key", 1));
  EXPECT_EQ(contentsOf(damaged), "{ open");
}

TEST_F(LinuxSystemConfigurationTest, AnIdentifierIsOneNameInTheFolder) {
  for (const auto* identifier : {".", "..", "a/b", "../outside", "/etc/passwd", ".lock"}) {
    EXPECT_EQ(configuration->open("client", identifier), nullptr) << identifier;
  }
  EXPECT_EQ(configuration->open("client", std::string("a\0b", 3)), nullptr);
}

TEST_F(LinuxSystemConfigurationTest, ANetworkServiceIsAnInterface) {
  root.link("proc", "/proc");
  const auto session = configuration->open("client", "");
  for (const auto* name : {"", "absent", "all", "default", "..", "lo/..", "lo/../lo"}) {
    EXPECT_EQ(session->networkService(name), nullptr) << name;
  }
  EXPECT_EQ(session->networkService(std::string("lo\0", 3)), nullptr);
  EXPECT_NE(session->networkService("lo"), nullptr);
}

}  // namespace
}  // namespace qrt
