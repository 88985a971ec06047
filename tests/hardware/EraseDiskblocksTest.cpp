#include "hardware/BlockErasure.h"
#include "hardware/FirmwareOperations.h"
#include "platform/posix/PosixBlockDevices.h"
#include "support/LoopDevice.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::size_t blockSize = 512;

/// The POSIX error of the operation, 0 for success.
std::int64_t erase(const std::string& name, PropertyValue blocks, const std::string& root = "") {
  PosixBlockDevices devices(root);
  return codeOf(performOperationEraseDiskblocksWithArguments({name, blocks}, devices));
}

TEST(EraseDiskblocks, ReachesExactlyTheBlocksOfADevice) {
  constexpr std::size_t size = 4 << 20;
  const std::string pattern(size, '\xA5');
  for (const int sectorSize : {512, 4096}) {
    for (const std::size_t blocks : {1, 3, 8, 2047, 2048, 2049, 5000, 8192}) {
      SCOPED_TRACE(std::to_string(blocks) + " of " + std::to_string(sectorSize));
      test::ScratchFolder images;
      const auto image = images.file("image", pattern);
      {
        const test::LoopDevice device(image, sectorSize);
        if (!device.isThere()) GTEST_SKIP() << "needs root and loop devices";
        EXPECT_EQ(erase(device.name(), blocks), 0);
      }
      const auto erased = blocks * blockSize;
      EXPECT_TRUE(test::contentsOf(image) == std::string(erased, '\0') + pattern.substr(erased));
    }
  }
}

TEST(EraseDiskblocks, StopsAtTheEndOfTheDevice) {
  constexpr std::size_t size = (2 << 20) + 7 * blockSize;
  test::ScratchFolder images;
  const auto image = images.file("image", std::string(size, '\xA5'));
  {
    const test::LoopDevice device(image, 512);
    if (!device.isThere()) GTEST_SKIP() << "needs root and loop devices";
    EXPECT_EQ(erase("/" + device.name() + "/", size / blockSize), 0);
    EXPECT_EQ(erase(device.name(), size / blockSize + 1), 28);
    EXPECT_EQ(erase(device.name(), -1), 28);
  }
  EXPECT_TRUE(test::contentsOf(image) == std::string(size, '\0'));
}

TEST(EraseDiskblocks, NamesThatCannotBeOpenedAndWhatMustNotBeWaitedFor) {
  test::ScratchFolder root;
  root.make(
      "mkdir -p dev/folder; printf 'untouched' > outside; touch dev/dots..; mkfifo dev/fifo; "
      "ln -s loop dev/loop");
  const std::pair<std::string, int> cases[] = {{"folder", 21},     {"", 21},
                                               {"../outside", 22}, {"folder/../../outside", 22},
                                               {"..", 22},         {std::string("a\0b", 3), 2},
                                               {"loop", 62},       {"fifo", 6},
                                               {"//dots..", 0}};
  for (const auto& [name, code] : cases) {
    EXPECT_EQ(erase(name, 1, root.path()), code) << name;
    EXPECT_EQ(erase(name, 0, root.path()), 0) << name;
  }
  EXPECT_EQ(test::contentsOf(root.path("outside")), "untouched");
  const int reader = open(root.path("dev/fifo").c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(erase("fifo", 4, root.path()), 0);
  EXPECT_EQ(erase("fifo", 100000, root.path()), 35);
  close(reader);
}

/// A device that takes at most `piece` bytes at once and `capacity` in all.
struct ModelDevice : BlockDevice {
  std::size_t piece, capacity, written = 0;
  PosixCode atEnd = PosixCode::success;

  ModelDevice(std::size_t itsPiece, std::size_t blocks)
      : piece(itsPiece), capacity(blocks * blockSize) {}
  PosixResult<std::size_t> writeZeros(std::size_t count) override {
    const auto taken = std::min({count, piece, capacity - written});
    if (taken == 0) return PosixCode::inputOutput;
    written += taken;
    return taken;
  }
  PosixCode synchronize() override { return atEnd; }
};

TEST(EraseBlocks, GoOnAfterShortWritesAndTellFailures) {
  for (const std::size_t piece : {512, 1536, 1 << 20}) {
    ModelDevice device(piece, 8192);
    EXPECT_EQ(eraseBlocks(device, 5000), PosixCode::success);
    EXPECT_EQ(device.written, 5000 * blockSize);
    EXPECT_EQ(eraseBlocks(device, 5000), PosixCode::inputOutput);
    EXPECT_EQ(device.written, device.capacity);
  }
  ModelDevice odd(700, 16), unsafe(512, 1);
  EXPECT_EQ(eraseBlocks(odd, 4), PosixCode::noSpace);
  unsafe.atEnd = PosixCode::inputOutput;
  EXPECT_EQ(eraseBlocks(unsafe, 1), PosixCode::inputOutput);
}

}  // namespace
}  // namespace qrt
