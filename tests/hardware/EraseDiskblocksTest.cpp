#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <random>

#include "hardware/BlockErasure.h"
#include "hardware/FirmwareOperations.h"
#include "platform/posix/PosixBlockDevices.h"
#include "support/LoopDevice.h"
#include "support/Mounts.h"
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

TEST(EraseDiskblocks, FilesGrow) {
  test::ScratchFolder folder("/dev/shm");
  const auto name = folder.path().substr(sizeof "/dev/" - 1);
  folder.file("file", pattern(3 * blockSize));
  EXPECT_EQ(erase(name + "/file", 2), 0);
  EXPECT_EQ(test::contentsOf(folder.path("file")), erased(2, 3 * blockSize));
  EXPECT_EQ(erase(name + "/file", 5000), 0);
  EXPECT_EQ(test::contentsOf(folder.path("file")), std::string(5000 * blockSize, '\0'));
}

TEST(EraseDiskblocks, NamesThatCannotBeOpened) {
  test::ScratchFolder root;
  root.folder("dev");
  root.folder("dev/folder");
  root.file("outside", "untouched");
  root.file("dev/dots..", "");
  root.link("dev/loop", "loop");
  struct Case {
    std::string name;
    int code;
  };
  for (const auto& c :
       {Case{"missing", 2}, Case{"folder/missing", 2}, Case{"folder", 21}, Case{"", 21},
        Case{".", 21}, Case{"../outside", 22}, Case{"folder/../../outside", 22}, Case{"..", 22},
        Case{std::string("a\0b", 3), 2}, Case{"loop", 62}, Case{"dots../x", 20},
        Case{std::string(300, 'n'), 63}, Case{"//dots..", 0}}) {
    EXPECT_EQ(erase(c.name, 1, root.path()), c.code) << c.name;
    EXPECT_EQ(erase(c.name, 0, root.path()), 0) << c.name;
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

TEST(EraseDiskblocks, DevicesThatKeepNothing) {
  EXPECT_EQ(erase("null", 5000), 0);
  EXPECT_EQ(erase("full", 5000), 28);
}

TEST(EraseDiskblocks, FullFileSystemHoldsWhatSingleBlocksWouldHaveLeft) {
  test::ScratchFolder root;
  root.folder("dev");
  const test::Mount mount(test::Mount::Kind::ext4, root.path("dev"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs root and ext4";
  const auto sizeOf = [&](const char* name) {
    struct stat status {};
    stat(root.path(name).c_str(), &status);
    return status.st_size;
  };
  constexpr auto tooMany = std::size_t{1} << 40;
  root.file("dev/single");
  EXPECT_FALSE(
      test::run({"dd", "if=/dev/zero", "bs=512", "conv=notrunc", "of=" + root.path("dev/single")}));
  const auto expected = sizeOf("dev/single");
  EXPECT_GT(expected, 1 << 20);
  unlink(root.path("dev/single").c_str());
  root.file("dev/file");
  EXPECT_EQ(erase("file", tooMany, root.path()), 28);
  EXPECT_EQ(sizeOf("dev/file"), expected);
}

/// A device with a capacity and a block that cannot be written.
class ModelDevice : public BlockDevice {
 public:
  ModelDevice(std::size_t capacity, std::size_t badBlock, bool tellsProgress)
      : contents_(capacity, '\xA5'), badBlock_(badBlock), tellsProgress_(tellsProgress) {}

  PosixResult<std::size_t> writeZeros(std::size_t count) override {
    EXPECT_LE(count, largestWrite);
    ++calls;
    const auto bad = badBlock_ * blockSize;
    const bool hitsBad = position < bad + blockSize && position + count > bad;
    const auto possible = std::min(contents_.size() - position, hitsBad ? bad - position : count);
    const auto written = std::min(possible, count);
    contents_.replace(position, written, written, '\0');
    if (hitsBad && !(tellsProgress_ && written > 0)) return PosixCode::inputOutput;
    if (written == 0) return PosixCode::noSpace;
    position += written;
    return written;
  }
  PosixCode synchronize() override { return atEnd; }

  std::string upToTheStop() const { return contents_.substr(0, position); }

  std::size_t calls = 0;
  std::size_t position = 0;
  PosixCode atEnd = PosixCode::success;

 private:
  std::string contents_;
  std::size_t badBlock_;
  bool tellsProgress_;
};

PosixCode eraseOneByOne(BlockDevice& device, std::size_t blocks) {
  for (; blocks > 0; --blocks) {
    const auto written = device.writeZeros(blockSize);
    if (!written) return written.error();
    if (*written != blockSize) return PosixCode::noSpace;
  }
  return device.synchronize();
}

TEST(EraseBlocks, StopsWhereSingleBlocksStop) {
  std::mt19937 random(20240601);
  for (int round = 0; round < 200; ++round) {
    const std::size_t capacity = random() % (4 << 20);
    const std::size_t badBlock = random() % (3 * capacity / blockSize / 2 + 1);
    const std::size_t blocks = 1 + random() % (2 * capacity / blockSize + 1);
    const bool tellsProgress = random() % 2;
    SCOPED_TRACE(testing::Message() << capacity << " " << badBlock << " " << blocks);
    ModelDevice device(capacity, badBlock, tellsProgress);
    ModelDevice reference(capacity, badBlock, tellsProgress);
    EXPECT_EQ(eraseBlocks(device, blocks), eraseOneByOne(reference, blocks));
    EXPECT_EQ(device.position, reference.position);
    EXPECT_TRUE(device.upToTheStop() == std::string(device.position, '\0'));
    EXPECT_LE(device.calls, capacity / BlockDevice::largestWrite + 25);
  }
}

TEST(EraseBlocks, FailedSynchronizationIsTold) {
  ModelDevice device(1 << 20, 1 << 20, false);
  device.atEnd = PosixCode::inputOutput;
  EXPECT_EQ(eraseBlocks(device, 8), PosixCode::inputOutput);
}

}  // namespace
}  // namespace qrt
