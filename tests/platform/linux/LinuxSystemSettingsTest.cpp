#include "platform/SystemConfiguration.h"

#include <sched.h>

#include <future>
#include <thread>

#include "platform/FileDescriptor.h"
#include "platform/KernelSettings.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/PlantedFile.h"
#include "support/PropertyListText.h"

namespace qrt {
namespace {

using test::contentsOf;

class LinuxKernelSettingsTest : public testing::Test {
 protected:
  const test::ScratchFolder root;
  const std::unique_ptr<KernelSettings> settings = makeKernelSettings(root.path());
};

TEST_F(LinuxKernelSettingsTest, DotsSeparateAndSlashesAreDots) {
  EXPECT_EQ(settings->write("kernel.limit", 1), PosixCode::noEntry) << "there are no settings";
  const auto limit = test::plant(root, "proc/sys/kernel/limit");
  const auto dotted = test::plant(root, "proc/sys/net/conf/eth0.1/forwarding");
  EXPECT_EQ(settings->write("kernel.limit", INT64_MIN), PosixCode::success);
  EXPECT_EQ(settings->write("net.conf.eth0/1.forwarding", INT64_MAX), PosixCode::success);
  EXPECT_EQ(contentsOf(limit), "-9223372036854775808");
  EXPECT_EQ(contentsOf(dotted), "9223372036854775807");
}

TEST_F(LinuxKernelSettingsTest, ReachesNothingOutsideItsFolder) {
  const auto outside = test::plant(root, "proc/outside");
  test::plant(root, "proc/sys/kernel/limit");
  root.link("proc/sys/folderlink", root.path("proc"));
  root.link("proc/sys/filelink", outside);
  for (const auto* name : {"", "..", "//.outside", "/", "outside.", "kernel..limit", "absent",
                           "kernel.//.limit", "kernel///outside"}) {
    EXPECT_EQ(settings->write(name, 1), PosixCode::noEntry) << name;
  }
  EXPECT_EQ(settings->write(std::string("kernel.limit\0x", 14), 1), PosixCode::noEntry);
  EXPECT_EQ(settings->write("filelink", 1), PosixCode::tooManyLinks);
  EXPECT_EQ(settings->write("folderlink.outside", 1), PosixCode::notDirectory);
  EXPECT_EQ(settings->write("kernel", 1), PosixCode::isDirectory);
  EXPECT_EQ(contentsOf(outside), "");
}

TEST(RealKernelSettings, TakeUnsignedNumbersAndRefuseWhatTheKernelRefuses) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto settings = makeKernelSettings("/");
  std::thread([&settings] {
    ASSERT_EQ(unshare(CLONE_NEWIPC), 0);
    const auto standard = contentsOf("/proc/sys/kernel/shmmax");
    EXPECT_EQ(settings->write("kernel.shmmax", 4096), PosixCode::success);
    EXPECT_EQ(settings->write("kernel.shmmax", std::stoull(standard)), PosixCode::success);
    EXPECT_EQ(contentsOf("/proc/sys/kernel/shmmax"), standard);
  }).join();
  EXPECT_EQ(settings->write("vm.swappiness", 1'000'000), PosixCode::invalidArgument);
  EXPECT_EQ(settings->write("kernel.osrelease", 1), PosixCode::permissionDenied);
}

class LinuxSystemConfigurationTest : public testing::Test {
 protected:
  LinuxSystemConfigurationTest() { root.folder("etc"); }

  /// What a request does with one value.
  bool change(const std::string& identifier, const std::string& key,
              const std::optional<PropertyValue>& value) {
    const auto session = configuration->open("client", identifier);
    if (!session || !session->lock()) return false;
    const bool isChanged = value ? session->setValue(key, *value) : session->removeValue(key);
    const bool isDone = isChanged && session->applyChanges() && session->commitChanges();
    session->unlock();
    return isDone;
  }

  PropertyValue read(const std::string& name) {
    return test::parsed(contentsOf(root.path("etc/service/" + name))).value();
  }

  const test::ScratchFolder root;
  const std::unique_ptr<KernelSettings> kernel = makeKernelSettings(root.path());
  const std::unique_ptr<SystemConfiguration> configuration =
      makeSystemConfiguration(root.path("etc/service"), root.path(), *kernel);
};

TEST_F(LinuxSystemConfigurationTest, ValuesAreKeptInTheFileThatIsNamed) {
  EXPECT_TRUE(change("", "key", Array{"a", 1}));
  EXPECT_TRUE(change("", "other", "b"));
  EXPECT_TRUE(change("site.plist", "key", true));
  EXPECT_EQ(read("preferences.plist"), (Dictionary{{"key", Array{"a", 1}}, {"other", "b"}}));
  EXPECT_EQ(read("site.plist"), (Dictionary{{"key", true}}));
  EXPECT_TRUE(change("", "key", {}));
  EXPECT_FALSE(change("", "key", {})) << "it was removed before";
  EXPECT_EQ(read("preferences.plist"), (Dictionary{{"other", "b"}}));

  const auto session = configuration->open("client", "site.plist");
  ASSERT_TRUE(session->lock() && session->setValue("key", 1) && session->applyChanges());
  session->unlock();
  EXPECT_EQ(read("site.plist"), (Dictionary{{"key", true}})) << "nothing was committed";
}

TEST_F(LinuxSystemConfigurationTest, AnIdentifierIsOneNameInTheFolder) {
  for (const auto* identifier : {".", "..", "a/b", "../outside", "/etc/passwd", ".lock"}) {
    EXPECT_EQ(configuration->open("client", identifier), nullptr) << identifier;
  }
  EXPECT_EQ(configuration->open("client", std::string("a\0b", 3)), nullptr);
}

TEST_F(LinuxSystemConfigurationTest, ConfigurationsThatCannotBeReadOrHeldAreNotLost) {
  EXPECT_TRUE(change("", "key", 1));
  root.file("etc/service/damaged.plist", "{ open");
  EXPECT_FALSE(change("damaged.plist", "key", 1));
  EXPECT_EQ(contentsOf(root.path("etc/service/damaged.plist")), "{ open");
  EXPECT_FALSE(change("", "large", std::string(maximumPropertyListBytes, 'x')));
  EXPECT_FALSE(change("", "unwritable", "\x01"));
  EXPECT_EQ(read("preferences.plist"), (Dictionary{{"key", 1}}));
  const std::string large(maximumPropertyListBytes - 500, 'x');
  EXPECT_TRUE(change("", "large", large) && change("", "key", {}));
  EXPECT_EQ(read("preferences.plist"), (Dictionary{{"large", large}}));
}

TEST_F(LinuxSystemConfigurationTest, TheLockIsWaitedFor) {
  const auto first = configuration->open("client", "");
  ASSERT_TRUE(first->lock());
  auto second = std::async(std::launch::async, [this] { return change("other", "key", 1); });
  EXPECT_EQ(second.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  first->unlock();
  EXPECT_TRUE(second.get());
}

TEST_F(LinuxSystemConfigurationTest, AFolderThatCannotBeUsedIsNotOpened) {
  for (const auto* script :
       {"touch etc/service", "mkdir -m 0777 etc/service", "mkdir -p etc/service/.lock",
        "mkdir etc/service; chown 1 etc/service", "rmdir etc"}) {
    root.make(script);
    EXPECT_EQ(configuration->open("client", ""), nullptr) << script;
    root.make("rm -rf etc; mkdir etc");
  }
  EXPECT_NE(configuration->open("client", ""), nullptr);
}

/// In a network of its own with a pair of interfaces.
class NetworkServicesTest : public LinuxSystemConfigurationTest {
 protected:
  void SetUp() override {
    root.link("proc", "/proc");
    const bool isApart = unshare(CLONE_NEWNET) == 0 &&
                         test::run({"sh", "-c", "ip link add qrta type veth peer name qrt.b"});
    if (!isApart) GTEST_SKIP() << "needs ip and the right to make a network namespace";
  }
  void TearDown() override { setns(outside.get(), CLONE_NEWNET); }

  const FileDescriptor outside{open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)};
};

TEST_F(NetworkServicesTest, ANetworkServiceIsAnInterface) {
  const auto session = configuration->open("client", "");
  for (const auto* name : {"", "absent", "all", "default", "..", "qrta/..", "qrta/../lo"}) {
    EXPECT_EQ(session->networkService(name), nullptr) << name;
  }
  EXPECT_EQ(session->networkService(std::string("qrta\0", 5)), nullptr);
  EXPECT_TRUE(session->networkService("qrt.b")->supportsIPv6());
  // As on a kernel that was started without the protocol.
  unlink(root.path("proc").c_str());
  EXPECT_FALSE(session->networkService("qrta")->supportsIPv6());
}

TEST_F(NetworkServicesTest, IPv6ChangesAtOnceAndAtTheNextStart) {
  root.make("ip link set qrta up; ip link set qrt.b up");
  const auto file = test::plant(root, "etc/sysctl.d/60-com.vantor.system.privilegedhelper-vk2.conf",
                                "# by hand\nnet/ipv6/conf/qrt.b/disable_ipv6=0");
  const auto addresses = [] { return test::printed("ip -6 -o addr show dev qrt.b"); };
  EXPECT_NE(addresses(), "");
  const auto set = [this](const char* name, bool isEnabled) {
    const auto session = configuration->open("client", "");
    return session->lock() && session->networkService(name)->setIPv6Enabled(isEnabled) &&
           session->applyChanges() && session->commitChanges();
  };
  EXPECT_TRUE(set("qrt.b", false) && set("qrta", false) && set("qrta", true));
  EXPECT_EQ(addresses(), "");
  EXPECT_EQ(contentsOf("/proc/sys/net/ipv6/conf/qrta/disable_ipv6"), "0\n");
  EXPECT_EQ(contentsOf(file),
            "# by hand\nnet/ipv6/conf/qrt.b/disable_ipv6 = 1\n"
            "net/ipv6/conf/qrta/disable_ipv6 = 0\n");

  // The next start of the system.
  const std::string starter = "/usr/lib/systemd/systemd-sysctl";
  if (!test::exists(starter)) return;
  root.make("echo 0 > /proc/sys/net/ipv6/conf/qrt.b/disable_ipv6");
  EXPECT_TRUE(test::run({starter, file}));
  EXPECT_EQ(contentsOf("/proc/sys/net/ipv6/conf/qrt.b/disable_ipv6"), "1\n");
}

}  // namespace
}  // namespace qrt
