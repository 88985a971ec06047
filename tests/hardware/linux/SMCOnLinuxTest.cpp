#include "platform/linux/LinuxSMCExchange.h"

#include "hardware/SMCCode.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

/// The driver's files as plain ones: every place shows the same key.
class SMCOnLinux : public testing::Test {
 protected:
  SMCOnLinux() {
    root.make("mkdir -p " + folder);
    change(
        "echo 3 > key_count; echo 1 > key_at_index; echo BRSC > key_at_index_name; "
        "echo ui8 > key_at_index_type; printf '\\377\\376' > key_at_index_data; "
        "echo 2 > key_at_index_data_length");
  }
  void change(const std::string& script) { root.make("cd " + folder + "; " + script); }

  /// The answer, or what the controller says in it.
  std::pair<KernelReturn, int> call(int command, SMCCode key = smcCode("BRSC")) {
    SMCParameterRecord input;
    input.command = static_cast<std::uint8_t>(command);
    input.key = key;
    input.index = 2;
    answer = {};
    return {exchange.callSMC(input, answer), answer.result};
  }

  const std::string folder = "sys/devices/platform/applesmc.768";
  test::ScratchFolder root;
  LinuxSMCExchange exchange{root.path()};
  SMCParameterRecord answer;
};

constexpr int read = smc_command::readKey, info = smc_command::keyInfo;
constexpr std::pair<KernelReturn, int> done{KernelReturn::noError, 0};

TEST_F(SMCOnLinux, AKeyIsFoundInTheSortedListAndRead) {
  EXPECT_EQ(call(smc_command::keyAtIndex, 0), done);
  EXPECT_EQ(answer.key, smcCode("BRSC"));
  EXPECT_EQ(call(info), done);
  EXPECT_EQ(answer.dataType, smcCode("ui8\0"));
  EXPECT_EQ(answer.dataSize, 2u);
  EXPECT_EQ(call(read), done);
  EXPECT_EQ(answer.bytes[0] << 8 | answer.bytes[1], 0xFFFE);
  for (const auto key : {smcCode("    "), smcCode("~~~~")}) {
    EXPECT_EQ(call(info, key), std::pair(KernelReturn::noError, int{smc_result::keyNotFound}));
    EXPECT_EQ(call(read, key), std::pair(KernelReturn::noError, int{smc_result::keyNotFound}));
  }
}

TEST_F(SMCOnLinux, WhatItCannotDoIsTold) {
  const std::pair unreadable(KernelReturn::noError, int{smc_result::keyNotReadable});
  const std::pair damaged(KernelReturn::inputOutput, 0);
  EXPECT_EQ(call(smc_command::writeKey), std::pair(KernelReturn::notPrivileged, 0));
  EXPECT_EQ(call(7), std::pair(KernelReturn::badArgument, 0));
  change("head -c 5000 /dev/zero | tee key_at_index_type > key_at_index_data");
  EXPECT_EQ(call(info), damaged);
  EXPECT_EQ(call(read), unreadable);
  // Another program moves the place whenever one looks.
  change("echo 77 > key_at_index");
  EXPECT_EQ(call(smc_command::keyAtIndex), std::pair(KernelReturn::busy, 0));
  EXPECT_EQ(call(info), std::pair(KernelReturn::busy, 0));
  change("echo many > key_count");
  EXPECT_EQ(call(read), damaged);
  change("echo 3 > key_count; ln -sf /dev/full key_at_index");
  EXPECT_EQ(call(read), damaged);
  change("rm key_count");
  EXPECT_EQ(call(read), std::pair(KernelReturn::noError, int{smc_result::keyNotFound}));
  root.make("rm -r sys");
  EXPECT_EQ(call(read), std::pair(KernelReturn::error, 0));
}

}  // namespace
}  // namespace qrt
