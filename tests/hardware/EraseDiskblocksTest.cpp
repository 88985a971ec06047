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

std::string pattern(std::size_t size) { return std::string(size, '\xA5'); }

std::string erased(std::size_t blocks, std::size_t size) {
  auto contents = pattern(size);
  contents.replace(0, blocks * blockSize, blocks * blockSize, '\0');
  return contents;
}

TEST(EraseDiskblocks, ReachesExactlyTheBlocksOfADevice) {
  constexpr std::size_t size = 4 << 20;
  for (const int sectorSize : {512, 4096}) {
    for (const std::size_t blocks : {1, 3, 8, 2047, 2048, 2049, 5000, 8192}) {
      SCOPED_TRACE(std::to_string(blocks) + " of " + std::to_string(sectorSize));
      test::ScratchFolder images;
      const auto image = images.file("image", pattern(size));
      {
        const test::LoopDevice device(image, sectorSize);
        if (!device.isThere()) GTEST_SKIP() << "needs root and loop devices";
        EXPECT_EQ(erase(device.name(), blocks), 0);
      }
      EXPECT_TRUE(test::contentsOf(image) == erased(blocks, size));
    }
  }
}

TEST(EraseDiskblocks, StopsAtTheEndOfTheDevice) {
  constexpr std::size_t size = (2 << 20) + 7 * blockSize;
  test::ScratchFolder images;
  const auto image = images.file("image", pattern(size));
  {
    const test::LoopDevice device(image, 512);
    if (!device.isThere()) GTEST_SKIP() << "needs root and loop devices";
    EXPECT_EQ(erase("/" + device.name() + "/", size / blockSize), 0);
    EXPECT_EQ(erase(device.name(), size / blockSize + 1), 28);
    EXPECT_EQ(erase(device.name(), -1), 28);
  }
  EXPECT_TRUE(test::contentsOf(image) == std::string(size, '\0'));
}

TEST(EraseDiskblocks, NamesThatCannotBeOpened) {
  test::ScratchFolder root;
  root.make(
      "mkdir -p dev/folder; printf 'untouched' > outside; touch dev/dots..; ln -s loop dev/loop");
  const std::pair<std::string, int> cases[] = {{"missing", 2},
                                               {"folder", 21},
                                               {"", 21},
                                               {"../outside", 22},
                                               {"folder/../../outside", 22},
                                               {"..", 22},
                                               {std::string("a\0b", 3), 2},
                                               {"loop", 62},
                                               {"dots../x", 20},
                                               {std::string(300, 'n'), 63},
                                               {"//dots..", 0}};
  for (const auto& [name, code] : cases) {
    EXPECT_EQ(erase(name, 1, root.path()), code) << name;
    EXPECT_EQ(erase(name, 0, root.path()), 0) << name;
  }
  EXPECT_EQ(test::contentsOf(root.path("outside")), "untouched");
}

TEST(EraseDiskblocks, NothingWaitsForTheOtherEndOfAFifo) {
  test::ScratchFolder root;
  root.folder("dev");
  const auto path = root.path("dev/fifo");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(erase("fifo", 1, root.path()), 6);
  const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(erase("fifo", 4, root.path()), 0);
  EXPECT_EQ(erase("fifo", 100000, root.path()), 35);
  close(reader);
}

/// A device that takes at most `piece` bytes at once and `capacity` in all.
struct ModelDevice : BlockDevice {
  std::size_t piece, capacity;
  PosixCode atEnd = PosixCode::success;
  std::size_t written = 0;

  ModelDevice(std::size_t itsPiece, std::size_t itsCapacity)
      : piece(itsPiece), capacity(itsCapacity) {}
  PosixResult<std::size_t> writeZeros(std::size_t count) override {
    const auto taken = std::min({count, piece, capacity - written});
    if (taken == 0) return PosixCode::inputOutput;
    written += taken;
    return taken;
  }
  PosixCode synchronize() override { return atEnd; }
};

TEST(EraseBlocks, GoOnAfterShortWritesAndTellFailures) {
  for (const std::size_t piece : {std::size_t{512}, std::size_t{1536}, std::size_t{1} << 20}) {
    ModelDevice device(piece, 8192 * blockSize);
    EXPECT_EQ(eraseBlocks(device, 5000), PosixCode::success);
    EXPECT_EQ(device.written, 5000 * blockSize);
    EXPECT_EQ(eraseBlocks(device, 5000), PosixCode::inputOutput);
    EXPECT_EQ(device.written, device.capacity);
  }
  ModelDevice odd(700, 8192);
  EXPECT_EQ(eraseBlocks(odd, 4), PosixCode::noSpace);
  ModelDevice device(512, 512);
  device.atEnd = PosixCode::inputOutput;
  EXPECT_EQ(eraseBlocks(device, 1), PosixCode::inputOutput);
}

}  // namespace
}  // namespace qrt
