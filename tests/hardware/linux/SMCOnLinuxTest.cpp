#include "platform/linux/LinuxSMCExchange.h"

#include "hardware/SMCCode.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using std::string_literals::operator""s;

/// The driver's files as plain ones: every place shows the same key.
class SMCOnLinux : public testing::Test {
 protected:
  SMCOnLinux() {
    for (const auto& [name, contents] : {std::pair("count", "3\n"s),
                                         {"at_index", "1\n"s},
                                         {"at_index_name", "BRSC\n"s},
                                         {"at_index_type", "ui8\n"s},
                                         {"at_index_data", "\xFF\xFE"s},
                                         {"at_index_data_length", "2\n"s}}) {
      plant(name, contents);
    }
  }
  void plant(const std::string& name, const std::string& contents) {
    test::plant(root, "sys/devices/platform/applesmc.768/key_" + name, contents);
  }

  KernelReturn call(std::uint8_t command, SMCCode key, std::uint32_t index = 0) {
    SMCParameterRecord input;
    input.command = command;
    input.key = key;
    input.index = index;
    answer = {};
    return exchange.callSMC(input, answer);
  }

  test::ScratchFolder root;
  LinuxSMCExchange exchange{root.path()};
  SMCParameterRecord answer;
};

TEST_F(SMCOnLinux, AKeyIsFoundInTheSortedListAndRead) {
  EXPECT_EQ(call(smc_command::keyAtIndex, 0, 2), KernelReturn::noError);
  EXPECT_EQ(answer.key, smcCode("BRSC"));
  EXPECT_EQ(call(smc_command::keyInfo, smcCode("BRSC")), KernelReturn::noError);
  EXPECT_EQ(answer.dataType, smcCode("ui8\0"));
  EXPECT_EQ(answer.dataSize, 2u);
  EXPECT_EQ(call(smc_command::readKey, smcCode("BRSC")), KernelReturn::noError);
  EXPECT_EQ(answer.bytes[0] << 8 | answer.bytes[1], 0xFFFE);
  for (const auto key : {smcCode("    "), smcCode("~~~~")}) {
    for (const auto command : {smc_command::keyInfo, smc_command::readKey}) {
      EXPECT_EQ(call(command, key), KernelReturn::noError);
      EXPECT_EQ(answer.result, smc_result::keyNotFound);
    }
  }
}

TEST_F(SMCOnLinux, WhatItCannotDoIsTold) {
  const auto brsc = smcCode("BRSC");
  EXPECT_EQ(call(smc_command::writeKey, brsc), KernelReturn::notPrivileged);
  EXPECT_EQ(call(7, brsc), KernelReturn::badArgument);
  plant("at_index_type", std::string(5000, 'x'));
  EXPECT_EQ(call(smc_command::keyInfo, brsc), KernelReturn::inputOutput);
  plant("at_index_data", std::string(5000, 'x'));
  EXPECT_EQ(call(smc_command::readKey, brsc), KernelReturn::noError);
  EXPECT_EQ(answer.result, smc_result::keyNotReadable);
  // Another program moves the place whenever one looks.
  plant("at_index", "77\n");
  for (const auto command : {smc_command::keyAtIndex, smc_command::keyInfo}) {
    EXPECT_EQ(call(command, brsc), KernelReturn::busy);
  }
  plant("count", "many\n");
  EXPECT_EQ(call(smc_command::readKey, brsc), KernelReturn::inputOutput);
  root.make(
      "cd sys/devices/platform/applesmc.768; printf 3 > key_count; ln -sf /dev/full key_at_index");
  EXPECT_EQ(call(smc_command::readKey, brsc), KernelReturn::inputOutput);
  root.make("rm sys/devices/platform/applesmc.768/key_count");
  EXPECT_EQ(call(smc_command::readKey, brsc), KernelReturn::noError);
  EXPECT_EQ(answer.result, smc_result::keyNotFound);
  EXPECT_EQ(LinuxSMCExchange(root.path("nowhere")).callSMC({}, answer), KernelReturn::error);
}

}  // namespace
}  // namespace qrt
