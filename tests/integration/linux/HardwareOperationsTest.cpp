// Operations on hardware and firmware, asked for through the daemon's socket.
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"
#include "support/AppleSMCTree.h"
#include "support/DaemonProcess.h"
#include "support/LoopDevice.h"
#include "support/Mounts.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::uint64_t modifyNvram = 16, eraseDiskblocks = 26, writeSmcvalue = 27;
constexpr std::size_t blockSize = 512;

class HardwareOperationsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the daemon needs root";
    startDaemon();
  }

  /// In place of the one that runs.
  void startDaemon() {
    daemon_.reset();
    daemon_.emplace();
    auto connection = native_.facilities().helperConnector.connect(daemon_->socketPath());
    ASSERT_TRUE(connection);
    connection_ = std::move(*connection);
  }

  /// Domain and code of the reply; empty for success.
  std::string perform(std::uint64_t code, const Array& arguments) {
    const auto form = connection_->createExternalForm();
    if (!form) return "no authorization";
    const auto outcome = connection_->performPrivilegedOperation(code, *form, nullptr, arguments);
    return outcome ? outcome->domain + " " + std::to_string(outcome->code) : "";
  }

  NativePlatform native_;
  std::optional<test::DaemonProcess> daemon_;
  std::unique_ptr<HelperConnection> connection_;
};

TEST_F(HardwareOperationsTest, ErasesADeviceAndNothingBehindTheBlocks) {
  constexpr std::size_t size = 3 << 20;
  test::ScratchFolder images;
  const auto image = images.file("image", std::string(size, '\xA5'));
  {
    const test::LoopDevice device(image, blockSize);
    if (!device.isThere()) GTEST_SKIP() << "needs loop devices";
    EXPECT_EQ(perform(eraseDiskblocks, {device.name(), 2050}), "");
  }
  const auto contents = test::contentsOf(image);
  EXPECT_TRUE(contents ==
              std::string(2050 * blockSize, '\0') + std::string(size - 2050 * blockSize, '\xA5'));
  const test::LoopDevice device(image, blockSize);
  EXPECT_EQ(perform(eraseDiskblocks, {device.name(), size / blockSize + 1}),
            "NSPOSIXErrorDomain 28");
}

TEST_F(HardwareOperationsTest, ErasesAFile) {
  test::ScratchFolder folder("/dev/shm");
  folder.file("file", std::string(4 * blockSize, '\xA5'));
  const auto name = folder.path("file").substr(sizeof "/dev/" - 1);
  EXPECT_EQ(perform(eraseDiskblocks, {name, 3}), "");
  EXPECT_EQ(test::contentsOf(folder.path("file")),
            std::string(3 * blockSize, '\0') + std::string(blockSize, '\xA5'));
}

TEST_F(HardwareOperationsTest, NamesAndCounts) {
  EXPECT_EQ(perform(eraseDiskblocks, {"no/such/device", 0}), "");
  EXPECT_EQ(perform(eraseDiskblocks, {"no such device", 1}), "NSPOSIXErrorDomain 2");
  EXPECT_EQ(perform(eraseDiskblocks, {"../tmp/file", 1}), "NSPOSIXErrorDomain 22");
  EXPECT_EQ(perform(eraseDiskblocks, {"null"}), "NSPOSIXErrorDomain 22");
}

TEST_F(HardwareOperationsTest, ComputersWithoutTheHardwareSaySo) {
  EXPECT_EQ(perform(modifyNvram, {"", "value"}), "NSPOSIXErrorDomain 22");
  if (!test::exists("/sys/firmware/efi")) {
    EXPECT_EQ(perform(modifyNvram, {"name", "value"}), "");
  }
  if (!test::exists("/sys/devices/platform/applesmc.768")) {
    EXPECT_EQ(perform(writeSmcvalue, {"F0Mn", Data{0, 0}}),
              "com.vantor.error.privileged-operation 20");
  }
}

TEST_F(HardwareOperationsTest, ComputersWithTheHardware) {
  // The controller's thread and the daemon belong into the namespace of the mounts.
  const test::Mount firmware(test::Mount::Kind::memory, "/sys/firmware");
  const test::AppleSMCTree controller;
  const test::Mount devices(test::Mount::Kind::memory, "/sys/devices/platform");
  const std::string variables = "/sys/firmware/efi/efivars";
  const std::string keys = "/sys/devices/platform/applesmc.768";
  const bool isThere = firmware.isMounted() && controller.isMounted() && devices.isMounted() &&
                       test::run({"mkdir", "-p", variables, keys}) &&
                       test::run({"mount", "--bind", controller.root() + keys, keys});
  if (!isThere) GTEST_SKIP() << "needs mounts and FUSE";
  startDaemon();
  EXPECT_EQ(perform(modifyNvram, {"boot-args", "-v"}), "");
  EXPECT_EQ(perform(modifyNvram, {"bytes", "%01%ff"}), "");
  const std::string vendor = "-7c436110-ab2a-4bbb-a880-fe41995c9f82";
  EXPECT_EQ(test::contentsOf(variables + "/boot-args" + vendor), std::string("\7\0\0\0-v", 6));
  EXPECT_EQ(test::contentsOf(variables + "/bytes" + vendor), std::string("\7\0\0\0\1\xFF", 6));
  EXPECT_EQ(perform(modifyNvram, {"a/b", "c"}), "com.vantor.error.privileged-operation 9");
  for (const auto& value : {Data(16), Data(3)}) {
    EXPECT_EQ(perform(writeSmcvalue, {"F0ID", value}), "com.vantor.error.privileged-operation 21");
  }
}

}  // namespace
}  // namespace qrt
