#include "hardware/HardwareOperations.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

TEST(LoopDevice, ExactlyTheBlocksAreErasedUpToTheEndOfTheDevice) {
  const struct {
    int sectorSize;
    std::int64_t blocks;
    std::size_t size, erased;
    int code;
  } cases[] = {{512, 2049, 4 << 20, 2049, 0},
               {4096, 5000, 4 << 20, 5000, 0},
               {4096, 3, 4 << 20, 3, 0},
               {512, 17, 8704, 17, 0},
               {512, -1, 8704, 17, 28}};
  for (const auto& [sectorSize, blocks, size, erased, code] : cases) {
    const test::ScratchFolder images;
    const auto image = images.file("image", std::string(size, '\xA5'));
    // Another program may be faster to take the device that was found.
    std::string device;
    for (int attempt = 0; attempt < 10 && device.empty(); ++attempt) {
      device = test::printed("losetup --show --find --sector-size " + std::to_string(sectorSize) +
                             " " + image + " 2>/dev/null");
    }
    if (device.empty()) GTEST_SKIP() << "needs root and loop devices";
    device.pop_back();
    const NativePlatform native;
    EXPECT_EQ(codeOf(performOperationEraseDiskblocksWithArguments(
                  native.facilities(), {device.substr(sizeof "/dev" - 1), blocks}, nullptr)),
              code);
    test::run({"losetup", "--detach", device});
    const auto zeros = erased * 512;
    EXPECT_TRUE(test::contentsOf(image) ==
                std::string(zeros, '\0') + std::string(size - zeros, '\xA5'))
        << blocks << " of " << sectorSize;
  }
}

}  // namespace
}  // namespace qrt
