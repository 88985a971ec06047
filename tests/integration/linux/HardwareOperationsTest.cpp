// Operations on hardware and firmware, asked for through the daemon's socket.
#include "support/DaemonFixture.h"
#include "support/Mounts.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::uint64_t modifyNvram = 16, eraseDiskblocks = 26, writeSmcvalue = 27;

class HardwareOperationsTest : public test::DaemonFixture {
 protected:
  /// Domain and code of the reply; empty for success.
  std::string answer(std::uint64_t code, const Array& arguments) {
    const auto connection = connect();
    const auto outcome = perform(*connection, code, arguments);
    return outcome ? outcome->domain + " " + std::to_string(outcome->code) : "";
  }
};

TEST_F(HardwareOperationsTest, WithoutTheHardwareOnlyTheControllerIsMissed) {
  EXPECT_EQ(answer(eraseDiskblocks, {"full", 1}), "NSPOSIXErrorDomain 28");
  if (!test::exists("/sys/firmware/efi")) {
    EXPECT_EQ(answer(modifyNvram, {"name", "value"}), "");
  }
  if (!test::exists("/sys/devices/platform/applesmc.768")) {
    EXPECT_EQ(answer(writeSmcvalue, {"F0Mn", Data(2)}), "com.vantor.error.privileged-operation 20");
  }
}

TEST_F(HardwareOperationsTest, WithTheHardwareVariablesAreWrittenAndKeysRefused) {
  const test::Mount firmware(test::Mount::Kind::memory, "/sys/firmware");
  const test::Mount devices(test::Mount::Kind::memory, "/sys/devices/platform");
  if (!firmware.isMounted() || !devices.isMounted()) GTEST_SKIP() << "needs the right to mount";
  // A controller whose only key is the number of keys.
  const auto plant = R"(mkdir -p /sys/firmware/efi/efivars /sys/devices/platform/applesmc.768
      cd /sys/devices/platform/applesmc.768
      echo 1 > key_count; echo 0 > key_at_index; echo '#KEY' > key_at_index_name
      echo ui32 > key_at_index_type; printf '\0\0\0\1' > key_at_index_data
      echo 4 > key_at_index_data_length)";
  ASSERT_TRUE(test::run({"sh", "-ec", plant}));
  // The daemon needs the namespace of the mounts.
  start();
  EXPECT_EQ(answer(modifyNvram, {"boot-args", "-v"}), "");
  EXPECT_EQ(
      test::contentsOf("/sys/firmware/efi/efivars/boot-args-7c436110-ab2a-4bbb-a880-fe41995c9f82"),
      std::string("\7\0\0\0-v", 6));
  EXPECT_EQ(answer(modifyNvram, {"a/b", "c"}), "com.vantor.error.privileged-operation 9");
  for (const auto& value : {Data(16), Data(3)}) {
    EXPECT_EQ(answer(writeSmcvalue, {"F0ID", value}), "com.vantor.error.privileged-operation 21");
  }
}

}  // namespace
}  // namespace qrt
