#include <gtest/gtest.h>

#include <thread>

#include "hardware/QRTSystemManagementController.h"
#include "platform/linux/LinuxSMCExchange.h"
#include "support/AppleSMCTree.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

class SMCOnLinux : public testing::Test {
 protected:
  void SetUp() override {
    if (!tree.isMounted()) GTEST_SKIP() << "needs root and /dev/fuse";
  }

  KernelReturn call(std::uint8_t command, SMCCode key, std::uint32_t index = 0) {
    SMCParameterRecord input;
    input.command = command;
    input.key = key;
    input.index = index;
    answer = {};
    return exchange.callSMC(input, answer);
  }

  test::AppleSMCTree tree;
  test::RecordingLog log;
  LinuxSMCExchange exchange{tree.root()};
  SMCParameterRecord answer;
};

TEST_F(SMCOnLinux, EveryKeyHasItsValue) {
  const auto controller = QRTSystemManagementController::init(exchange, log);
  ASSERT_TRUE(controller);
  const auto keys = test::modelKeys();
  EXPECT_EQ(controller->availableKeys().size(), keys.size());
  for (const auto& key : keys) {
    EXPECT_EQ(controller->valueForPropertyWithKey(controller->stringFromSMCKey(key.key)),
              key.meaning);
  }
}

TEST_F(SMCOnLinux, NothingCanBeWritten) {
  const auto controller = QRTSystemManagementController::init(exchange, log);
  ASSERT_TRUE(controller);
  const std::uint8_t bytes[2] = {};
  EXPECT_FALSE(controller->writeRawBytes(bytes, 2, "BRSC"));
  EXPECT_EQ(log.lines().back().text,
            "SMC write failure: system 0x38 subsystem 0x0 error code 0x2c1.");
  EXPECT_EQ(call(smc_command::writeKey, smcCode("BRSC")), KernelReturn::notPrivileged);
}

TEST_F(SMCOnLinux, AnswersWhatIsNotThere) {
  EXPECT_EQ(call(smc_command::keyAtIndex, 0, 10000), KernelReturn::noError);
  EXPECT_EQ(answer.result, smc_result::keyNotFound);
  for (const auto key : {smcCode("    "), smcCode("MMMM"), smcCode("~~~~")}) {
    for (const auto command : {smc_command::keyInfo, smc_command::readKey}) {
      EXPECT_EQ(call(command, key), KernelReturn::noError);
      EXPECT_EQ(answer.result, smc_result::keyNotFound);
    }
  }
  EXPECT_EQ(call(7, smcCode("BRSC")), KernelReturn::badArgument);

  tree.typesFail = true;
  EXPECT_EQ(call(smc_command::keyInfo, smcCode("BRSC")), KernelReturn::inputOutput);
  tree.isJammed = true;
  EXPECT_EQ(call(smc_command::readKey, smcCode("BRSC")), KernelReturn::inputOutput);

  LinuxSMCExchange nowhere(tree.root() + "/nowhere");
  EXPECT_EQ(nowhere.callSMC({}, answer), KernelReturn::error);
  EXPECT_FALSE(QRTSystemManagementController::init(nowhere, log));
}

TEST_F(SMCOnLinux, AnotherProgramMovesThePlace) {
  for (int disturbances = 1; disturbances <= 12; ++disturbances) {
    tree.disturbances = disturbances;
    EXPECT_EQ(call(smc_command::readKey, smcCode("BRSC")), KernelReturn::noError);
    EXPECT_EQ(answer.bytes[0] << 8 | answer.bytes[1], 0xFFFE);
    tree.disturbances = disturbances;
    EXPECT_EQ(call(smc_command::keyAtIndex, 0, 0), KernelReturn::noError);
    EXPECT_EQ(answer.key, smcCode("#KEY"));
  }
  tree.disturbances = 1 << 20;
  EXPECT_EQ(call(smc_command::readKey, smcCode("BRSC")), KernelReturn::busy);
}

TEST_F(SMCOnLinux, ExchangesTakeTurns) {
  const auto readOften = [this](SMCCode key, std::uint8_t expected) {
    for (int i = 0; i < 50; ++i) {
      SMCParameterRecord input, output;
      input.command = smc_command::readKey;
      input.key = key;
      EXPECT_EQ(exchange.callSMC(input, output), KernelReturn::noError);
      EXPECT_EQ(output.bytes[0], expected);
    }
  };
  std::thread other(readOften, smcCode("MSPS"), 10);
  readOften(smcCode("$Num"), 200);
  other.join();
}

}  // namespace
}  // namespace qrt
