#include "hardware/BlockErasure.h"
#include "hardware/FirmwareOperations.h"
#include "platform/posix/PosixBlockDevices.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::size_t blockSize = 512;

/// The POSIX error of the operation, 0 for success.
std::int64_t erase(const std::string& name, PropertyValue blocks, const std::string& root = "") {
  PosixBlockDevices devices(root);
  return codeOf(performOperationEraseDiskblocksWithArguments({name, blocks}, devices));
}

/// What a file of that size is after an action that gets the name, below "/dev", of a loop device
/// on it; null without the right to make one.
template <class Action>
std::optional<std::string> contentsAfter(std::size_t size, int sectorSize, Action action) {
  const test::ScratchFolder images;
  const auto image = images.file("image", std::string(size, '\xA5'));
  std::string device;
  // Another program may be faster to take the one that was found.
  for (int attempt = 0; attempt < 10 && device.empty(); ++attempt) {
    device = test::printed("losetup --show --find --sector-size " + std::to_string(sectorSize) +
                           " " + image + " 2>/dev/null");
  }
  if (device.empty()) return std::nullopt;
  device.pop_back();
  action(device.substr(sizeof "/dev/" - 1));
  test::run({"losetup", "--detach", device});
  return test::contentsOf(image);
}

TEST(LoopDevice, ReachesExactlyTheBlocksOfADevice) {
  constexpr std::size_t size = 4 << 20;
  for (const int sectorSize : {512, 4096}) {
    for (const std::size_t blocks : {1, 3, 8, 2047, 2048, 2049, 5000, 8192}) {
      SCOPED_TRACE(std::to_string(blocks) + " of " + std::to_string(sectorSize));
      const auto contents = contentsAfter(size, sectorSize, [&](const std::string& device) {
        EXPECT_EQ(erase(device, blocks), 0);
      });
      if (!contents) GTEST_SKIP() << "needs root and loop devices";
      const auto erased = blocks * blockSize;
      EXPECT_TRUE(*contents == std::string(erased, '\0') + std::string(size - erased, '\xA5'));
    }
  }
}

TEST(LoopDevice, StopsAtTheEndOfTheDevice) {
  constexpr std::size_t size = (2 << 20) + 7 * blockSize;
  const auto contents = contentsAfter(size, 512, [](const std::string& device) {
    EXPECT_EQ(erase("/" + device + "/", size / blockSize), 0);
    EXPECT_EQ(erase(device, size / blockSize + 1), 28);
    EXPECT_EQ(erase(device, -1), 28);
  });
  if (!contents) GTEST_SKIP() << "needs root and loop devices";
  EXPECT_TRUE(*contents == std::string(size, '\0'));
}

}  // namespace
}  // namespace qrt
