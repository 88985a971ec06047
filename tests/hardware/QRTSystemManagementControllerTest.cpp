#include "hardware/QRTSystemManagementController.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "hardware/SMCValueDecoding.h"
#include "hardware/SharedSMCController.h"
#include "support/ModelSMC.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using Controller = QRTSystemManagementController;
using test::ModelSMC;

TEST(SMCValueDecoding, EveryTypeHasItsValueAndItsSize) {
  const std::tuple<SMCCode, Data, std::optional<PropertyValue>> cases[] = {
      {smcCode("ui8 "), {200}, 200},
      {smcCode("ui32"), {0xF0, 9, 0, 2}, 0xF0090002},
      {smcCode("si16"), {0x80, 0}, -32768},
      {smcCode("flag"), {2}, true},
      {smcCode("char"), {0xE9}, "\u00E9"},
      {smcCode("si8 "), {'A'}, "A"},
      {smcCode("si8 "), {0xFF}, std::nullopt},
      {smcCode("ch8*"), {'m', 0xE9}, "6d e9 "},
      {smcCode("hex_"), {0, 0xAB, 0x10}, "00 ab 10 "},
      {smcCode("{rev"), {2, 11, 0x0F, 99, 1, 4}, "2.11f260"},
      {smcCode("{alr"),
       {0xFF, 0xF0, 0, 9, 0x12, 0x34, 0xFF, 0xFF, 0, 80},
       Dictionary{{"SMCAmbientLightTemperatureBaseline", -16},
                  {"SMCAmbientLightTemperatureCoefficient", 1.125},
                  {"SMCAmbientLightInflectionVoltage", 0x1234},
                  {"SMCAmbientLightLowTempBoundary", -1},
                  {"SMCAmbientLightHighTempBoundary", 80}}},
      {smcCode("{fds"),
       {0xFF, 255, 1, 9, 'L', 0xE9, 'f', 't', 0, 'h', 'i', 'd', 'd', 'e', 'n', 0},
       Dictionary{{"SMCFanType", -1},
                  {"SMCFanZone", 255},
                  {"SMCFanLocation", 1},
                  {"SMCFanFunction", "L\u00E9ft"}}}};
  for (auto [type, bytes, wanted] : cases) {
    SCOPED_TRACE(Controller::stringFromSMCKey(type));
    EXPECT_EQ(decodedSMCValue(type, bytes), wanted);
    if (type == smcCode("ch8*") || type == smcCode("hex_")) continue;
    EXPECT_FALSE(decodedSMCValue(type, {bytes.data(), bytes.size() - 1}));
    bytes.insert(bytes.end(), 8, 'x');
    EXPECT_FALSE(decodedSMCValue(type, bytes));
  }
}

TEST(SMCValueDecoding, ExactlyTheFixedPointCodesHaveADivisor) {
  const std::uint8_t bytes[] = {0xC0, 0};
  const std::tuple<SMCCode, double, std::optional<PropertyValue>> cases[] = {
      {smcCode("fp88"), 256, 192},         {smcCode("fp1f"), 32768, 1.5},
      {smcCode("sp78"), 256, -64},         {smcCode("spf0"), 1, -16384},
      {smcCode("fp00"), -1, std::nullopt}, {smcCode("fp89"), -1, std::nullopt},
      {smcCode("sp88"), -1, std::nullopt}, {smcCode("fpg0"), -1, std::nullopt}};
  for (const auto& [code, divisor, value] : cases) {
    EXPECT_EQ(Controller::divisorForFloatingPointCode(code), divisor);
    EXPECT_EQ(decodedSMCValue(code, bytes), value);
    EXPECT_FALSE(decodedSMCValue(code, {bytes, 1}));
  }
  std::uint16_t encoded = 0;
  EXPECT_TRUE(Controller::getSMCShort(&encoded, -1.999, "sp78"));
  EXPECT_EQ(encoded, 0xFE01);
  EXPECT_FALSE(Controller::getSMCShort(nullptr, 1, "ui16"));
}

class SMC : public testing::Test {
 protected:
  ModelSMC model;
  test::RecordingLog log;
  const std::unique_ptr<Controller> controller = Controller::init(model, log);
};

TEST_F(SMC, AFailureWhileKeysAreListedLeavesNoController) {
  SharedSMCController shared(model, log);
  for (const auto fault : {ModelSMC::Fault{KernelReturn::busy}, ModelSMC::Fault{{}, 0x99}}) {
    for (std::size_t step = 0; step < 2 + model.keys.size(); ++step) {
      model.fault = [&](auto&, auto number) {
        return number == step ? std::optional(fault) : std::nullopt;
      };
      model.exchanges.clear();
      EXPECT_FALSE(shared.controller()) << step;
    }
  }
  EXPECT_EQ(log.texts().front(),
            "QRTSystemManagementController: could not determine available keys on this platform\n");
  EXPECT_EQ(log.texts().back(), "QRTSystemManagementController: could not get key at index 10\n");
  model.fault = nullptr;
  EXPECT_TRUE(shared.controller());
  model.keys.front().type = smcCode("ui16");
  EXPECT_FALSE(Controller::init(model, log));
}

TEST_F(SMC, WritesOnlyBytesThatFitTheKey) {
  // Not listed.
  model.keys.push_back({smcCode("Long"), smcCode("hex_"), Data(40)});
  const Data bytes(600, 0x5A);
  const std::tuple<const char*, std::size_t, std::size_t, long> cases[] = {
      {"BRSC", 2, 2, 2},  {"BRSC", 2 + 256, 2, 2}, {"BRSC", 3, 1, 0},  {"BRSC", 0, 0, 0},
      {"BRSCx", 2, 0, 0}, {"nope", 2, 1, 0},       {"Long", 40, 2, 32}};
  for (const auto& [key, length, exchanges, written] : cases) {
    model.exchanges.clear();
    EXPECT_EQ(controller->writeRawBytes(bytes.data(), length, key, log), written > 0) << length;
    ASSERT_EQ(model.exchanges.size(), exchanges) << key << length;
    if (written == 0) continue;
    const auto& record = model.exchanges.back();
    EXPECT_EQ(record.command, smc_command::writeKey);
    EXPECT_EQ(record.dataSize, length % 256);
    EXPECT_EQ(std::count(record.bytes.begin(), record.bytes.end(), 0x5A), written);
  }
  for (const auto fault : {ModelSMC::Fault{{}, 0x86}, {KernelReturn::notPrivileged}}) {
    EXPECT_TRUE(log.lines().empty());
    model.fault = [=](auto& input, auto) {
      return input.command == smc_command::writeKey ? std::optional(fault) : std::nullopt;
    };
    EXPECT_FALSE(controller->writeRawBytes(bytes.data(), 2, "BRSC", log));
  }
  EXPECT_EQ(log.texts().back(), "SMC write failure: system 0x38 subsystem 0x0 error code 0x2c1.");
}

}  // namespace
}  // namespace qrt
