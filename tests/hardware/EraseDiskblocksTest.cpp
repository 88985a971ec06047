#include "hardware/BlockErasure.h"
#include "hardware/HardwareOperations.h"
#include "platform/BlockDevice.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::size_t blockSize = 512;

TEST(EraseDiskblocks, OpensOnlyNamesBelowTheDevicesAndWaitsForNothing) {
  test::ScratchFolder root;
  root.make("mkdir -p dev/folder; touch outside; mkfifo dev/fifo; ln -s loop dev/loop");
  const NativePlatform native(root.path() + "/");
  const auto erase = [&](const std::string& name, PropertyValue blocks) {
    return codeOf(
        performOperationEraseDiskblocksWithArguments(native.facilities(), {name, blocks}, nullptr));
  };
  const std::pair<std::string, int> cases[] = {{"folder", 21},
                                               {"", 21},
                                               {"../outside", 22},
                                               {"folder/../../outside", 22},
                                               {std::string("a\0b", 3), 2},
                                               {"loop", 62},
                                               {"fifo", 6}};
  for (const auto& [name, code] : cases) {
    EXPECT_EQ(erase(name, 1), code) << name;
    EXPECT_EQ(erase(name, 0), 0) << name;
  }
  EXPECT_EQ(test::contentsOf(root.path("outside")), "");
  const int reader = open(root.path("dev/fifo").c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(erase("fifo", 4), 0);
  EXPECT_EQ(erase("fifo", 100000), 35);
  close(reader);
}

/// A device of 8192 blocks that takes at most `piece` bytes at once, and whole units only.
struct ModelDevice : BlockDevice {
  std::size_t unit, piece, written = 0;
  PosixCode atEnd;

  ModelDevice(std::size_t itsUnit, std::size_t itsPiece, PosixCode itsEnd)
      : unit(itsUnit), piece(itsPiece), atEnd(itsEnd) {}

  std::size_t writeUnit() const override { return unit; }
  PosixResult<std::size_t> writeZeros(std::size_t count) override {
    if (count % unit != 0) return PosixCode::invalidArgument;
    const auto taken = std::min({count, piece, 8192 * blockSize - written});
    if (taken == 0) return PosixCode::inputOutput;
    written += taken;
    return taken;
  }
  PosixCode synchronize() override { return atEnd; }
};

TEST(EraseBlocks, ErasesWholeUnitsUpToAFailure) {
  using enum PosixCode;
  const struct {
    std::size_t unit, piece;
    std::uint64_t blocks, erased;
    PosixCode code, atEnd = success;
  } cases[] = {{4096, 1 << 20, 17, 0, invalidArgument},
               {4096, 1 << 20, 4000, 4000, success},
               {520, 1 << 20, 65, 65, success},
               // The device ends in the middle of a piece.
               {4096, 1 << 20, 8200, 8192, inputOutput},
               {1, 1536, 5000, 5000, success},
               {1, 700, 4, 1, noSpace},
               {1, 512, 1, 1, inputOutput, inputOutput}};
  for (const auto& [unit, piece, blocks, erased, code, atEnd] : cases) {
    ModelDevice device(unit, piece, atEnd);
    EXPECT_EQ(eraseBlocks(device, blocks), code) << unit << " " << blocks;
    EXPECT_EQ(device.written / blockSize, erased) << unit << " " << blocks;
  }
}

}  // namespace
}  // namespace qrt
