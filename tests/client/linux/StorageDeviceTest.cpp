#include "client/ClientFixture.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using testing::HasSubstr;

class StorageDevice : public test::ClientFixture {};

TEST_F(StorageDevice, IsNamedInTheQuestionAndRefusedWhileAPartOfItIsMounted) {
  const test::ScratchFolder scratch;
  scratch.make(
      "mkdir -p dev proc/self sys/class/block sys/devices/sda/sda1/holders sys/devices/sda/device "
      "sys/devices/dm-0; ln -s sda dev/disk; touch dev/sda; cd sys/class/block; "
      "ln -s ../../devices/sda ../../devices/sda/sda1 ../../devices/dm-0 .; "
      "echo 8:0 > sda/dev; echo 2048 > sda/size; echo 'A disk  ' > sda/device/model; "
      "echo 8:1 > sda1/dev; echo 1 > sda1/partition; touch sda1/holders/dm-0; "
      "echo 253:0 > dm-0/dev");
  platform.root = scratch.path();
  const auto eraseWithMount = [&](const std::string& line, const Words& options = {}) {
    scratch.file("proc/self/mountinfo", "24 1 0:5 / /dev rw - devtmpfs dev rw\n" + line);
    Words words{"erase-diskblocks", "disk", "8"};
    words.insert(words.end(), options.begin(), options.end());
    return run(words);
  };
  terminal.typed = "n";
  const std::string ofHolder =
      "30 1 253:0 / /my\\040data rw,relatime shared:1 - ext4 /dev/mapper/x rw\n";
  EXPECT_EQ(eraseWithMount(ofHolder), 2);
  EXPECT_THAT(terminal.errors(), HasSubstr("'disk' or a part of it is mounted at /my data;"));
  EXPECT_EQ(eraseWithMount("30 1 0:44 /sub /b rw - btrfs /dev/sda1 rw\n"), 2);
  for (const Words& options : {Words{"--no-preserve-mounts"}, Words{}}) {
    EXPECT_EQ(eraseWithMount(options.empty() ? "" : ofHolder, options), 1);
    EXPECT_THAT(terminal.errors(), HasSubstr("blocks of disk (\"A disk\", 1.0 MB) for good?"));
  }
}

}  // namespace
}  // namespace qrt
