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

/// A device that takes at most `piece` bytes at once, whole units only, and `capacity` in all.
struct ModelDevice : BlockDevice {
  std::size_t piece, capacity, written = 0, unit = 1;
  PosixCode atEnd = PosixCode::success;

  ModelDevice(std::size_t itsPiece, std::size_t blocks)
      : piece(itsPiece), capacity(blocks * blockSize) {}
  std::size_t writeUnit() const override { return unit; }
  PosixResult<std::size_t> writeZeros(std::size_t count) override {
    if (count % unit != 0) return PosixCode::invalidArgument;
    const auto taken = std::min({count, piece, capacity - written});
    if (taken == 0) return PosixCode::inputOutput;
    written += taken;
    return taken;
  }
  PosixCode synchronize() override { return atEnd; }
};

TEST(EraseBlocks, ErasesWholeUnitsOfTheDeviceOrNothing) {
  const struct {
    std::size_t unit;
    std::uint64_t blocks, erased;
    PosixCode code;
  } cases[] = {{4096, 17, 0, PosixCode::invalidArgument},
               {4096, 4000, 4000, PosixCode::success},
               {1536, 2049, 2049, PosixCode::success},
               {520, 64, 0, PosixCode::invalidArgument},
               {520, 65, 65, PosixCode::success},
               // The end of the device is met in the middle of a piece.
               {4096, 8200, 8192, PosixCode::inputOutput}};
  for (const auto& [unit, blocks, erased, code] : cases) {
    ModelDevice device(1 << 20, 8192);
    device.unit = unit;
    EXPECT_EQ(eraseBlocks(device, blocks), code) << unit << " " << blocks;
    EXPECT_EQ(device.written, erased * blockSize) << unit << " " << blocks;
  }
}

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
