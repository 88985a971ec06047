#include "hardware/HardwareOperations.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

/// Erases blocks of a loop device on a file and returns the POSIX code; nothing without the right
/// to make such a device.
std::optional<std::int64_t> erase(const std::string& image, int sectorSize, PropertyValue blocks) {
  std::string device;
  // Another program may be faster to take the device that was found.
  for (int attempt = 0; attempt < 10 && device.empty(); ++attempt) {
    device = test::printed("losetup --show --find --sector-size " + std::to_string(sectorSize) +
                           " " + image + " 2>/dev/null");
  }
  if (device.empty()) return std::nullopt;
  device.pop_back();
  const NativePlatform native;
  const auto name = device.substr(sizeof "/dev" - 1) + "/";
  const auto code = codeOf(
      performOperationEraseDiskblocksWithArguments(native.facilities(), {name, blocks}, nullptr));
  test::run({"losetup", "--detach", device});
  return code;
}

TEST(LoopDevice, ExactlyTheBlocksAreErasedUpToTheEndOfTheDevice) {
  const struct {
    int sectorSize;
    std::int64_t blocks;
    std::size_t size, erased;
    int code;
  } cases[] = {{512, 3, 4 << 20, 3, 0},           {512, 2049, 4 << 20, 2049, 0},
               {4096, 8, 4 << 20, 8, 0},          {4096, 5000, 4 << 20, 5000, 0},
               {4096, 3, 4 << 20, 3, 0},          {512, 17, 8704, 17, 0},
               {512, 4104, 4103 * 512, 4103, 28}, {512, -1, 8704, 17, 28}};
  for (const auto& [sectorSize, blocks, size, erased, code] : cases) {
    SCOPED_TRACE(std::to_string(blocks) + " of " + std::to_string(sectorSize));
    const test::ScratchFolder images;
    const auto image = images.file("image", std::string(size, '\xA5'));
    const auto returned = erase(image, sectorSize, blocks);
    if (!returned) GTEST_SKIP() << "needs root and loop devices";
    EXPECT_EQ(*returned, code);
    const auto zeros = erased * 512;
    EXPECT_TRUE(test::contentsOf(image) ==
                std::string(zeros, '\0') + std::string(size - zeros, '\xA5'));
  }
}

}  // namespace
}  // namespace qrt
