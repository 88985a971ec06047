#include "hardware/QRTSystemManagementController.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "hardware/SMCValueDecoding.h"
#include "hardware/SharedSMCController.h"
#include "support/ModelSMC.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using Controller = QRTSystemManagementController;
using test::ModelSMC;

/// A number's text tells of which kind it is, and a structure is its fields in their order.
std::string shown(const std::optional<PropertyValue>& value) {
  if (!value) return "none";
  if (const auto* text = value->string()) return *text;
  if (const auto* number = value->number()) {
    const auto& kind = number->storage();
    if (std::holds_alternative<bool>(kind)) return number->asBool() ? "true" : "false";
    const bool isFraction = std::holds_alternative<double>(kind);
    return isFraction ? std::to_string(number->asDouble()) : std::to_string(number->asInt64());
  }
  std::string fields;
  for (const auto& [name, field] : *value->dictionary()) fields += name + "=" + shown(field) + " ";
  return fields;
}

TEST(SMCValueDecoding, EveryTypeHasItsValueAndItsSize) {
  const auto check = [](SMCCode type, const Data& bytes, const std::string& wanted) {
    SCOPED_TRACE(Controller::stringFromSMCKey(type));
    EXPECT_EQ(shown(decodedSMCValue(type, bytes)), wanted);
    if (type == smcCode("ch8*") || type == smcCode("hex_")) return;
    Data longer = bytes;
    longer.insert(longer.end(), 8, 'x');
    EXPECT_FALSE(decodedSMCValue(type, longer));
    EXPECT_FALSE(decodedSMCValue(type, {bytes.data(), bytes.size() - 1}));
  };
  for (const auto type : {smcCode("byte"), smcCode("ui8 "), smcCode("ui8\0"), smcCode("{lsm"),
                          smcCode("{lss"), smcCode("{msp"), smcCode("{mss")}) {
    check(type, {200}, "200");
  }
  for (const auto type : {smcCode("ui6 "), smcCode("ui6\0"), smcCode("{pwm")}) {
    check(type, {1, 0}, "256");
  }
  check(smcCode("ui16"), {0xFF, 0xFE}, "65534");
  check(smcCode("ui32"), {0xF0, 9, 0, 2}, "4027121666");
  check(smcCode("si16"), {0x80, 0}, "-32768");
  check(smcCode("flag"), {2}, "true");
  check(smcCode("char"), {0xE9}, "\xC3\xA9");
  check(smcCode("si8 "), {'A'}, "A");
  check(smcCode("si8 "), {0xFF}, "none");
  check(smcCode("si8\0"), {0}, "");
  check(smcCode("ch8*"), {'m', 0xC3, 0xA9, 0}, std::string("m\xC3\xA9\0", 4));
  check(smcCode("ch8*"), {'m', 0xE9}, "6d e9 ");
  check(smcCode("hex_"), {0, 0xAB, 0x10}, "00 ab 10 ");
  check(smcCode("{rev"), {2, 11, 0x0F, 99, 1, 4}, "2.11f260");
  check(smcCode("{ala"), {0, 18, 0xFF, 0xF6, 0x80, 0},
        "SMCAmbientLightLuxFunctionRegion=32768 SMCAmbientLightLuxFunctionSlope=18 "
        "SMCAmbientLightLuxFunctionYIntercept=-10 ");
  check(smcCode("{alc"), {1, 0, 9, 9, 0, 2, 0, 3, 0, 4, 0, 5, 0xFF, 0xFF, 6, 255},
        "SMCAmbientLightADCTime=256 SMCAmbientLightBezelReflection=65535 "
        "SMCAmbientLightHighRoomLux=5 SMCAmbientLightI2CTime=256 SMCAmbientLightLidDelay=255 "
        "SMCAmbientLightLowRoomLux=4 SMCAmbientLightPowerLightMax=2 SMCAmbientLightPowerLightMin=3 "
        "SMCAmbientLightSensorCount=6 ");
  check(smcCode("{ali"), {0xFF, 1, 0},
        "SMCAmbientLightSensorIsControllingPowerLight=false "
        "SMCAmbientLightSensorIsValidWhenLidClosed=true SMCAmbientLightSensorType=-1 ");
  check(smcCode("{alr"), {0xFF, 0xF0, 0, 9, 0x12, 0x34, 0xFF, 0xFF, 0, 80},
        "SMCAmbientLightHighTempBoundary=80 SMCAmbientLightInflectionVoltage=4660 "
        "SMCAmbientLightLowTempBoundary=-1 SMCAmbientLightTemperatureBaseline=-16 "
        "SMCAmbientLightTemperatureCoefficient=1.125000 ");
  check(smcCode("{alt"), {0, 16, 2, 0},
        "SMCAmbientLightLuxThresholdHighGain=512 SMCAmbientLightLuxThresholdLowGain=16 ");
  check(smcCode("{alv"), {1, 0, 1, 2, 3, 4, 9, 9, 0, 1, 0x60, 0},
        "SMCAmbientLightChannel0=258 SMCAmbientLightChannel1=772 SMCAmbientLightIsHighGain=false "
        "SMCAmbientLightIsValid=true SMCAmbientLightRoomLux=5.500000 ");
  check(smcCode("{fds"), {0xFF, 255, 1, 9, 'L', 0xE9, 'f', 't', 0, 'h', 'i', 'd', 'd', 'e', 'n', 0},
        "SMCFanFunction=L\xC3\xA9"
        "ft SMCFanLocation=1 SMCFanType=-1 SMCFanZone=255 ");
  check(smcCode("{lsc"), {0, 1, 0, 2, 0x40, 0, 0xFE, 3, 1, 4},
        "SMCPowerLightBreathePWM=1 SMCPowerLightIsSwitchOverridingBrightness=true "
        "SMCPowerLightMinimumTicksToTarget=4 SMCPowerLightPWMChangePerTick=2 "
        "SMCPowerLightRampDuration=3 SMCPowerLightScaleMode=-2 SMCPowerLightScaling=0.500000 ");
  check(smcCode("{lsd"), {0, 1, 0, 2, 0, 3, 1, 4},
        "SMCPowerLightFadeConfigEndTicks=260 SMCPowerLightFadeConfigMidToEndRatio=2 "
        "SMCPowerLightFadeConfigMidToStartRatio=1 SMCPowerLightFadeConfigStartTicks=3 ");
  check(smcCode("{lsf"), {0, 1, 0, 2, 0, 3},
        "SMCPowerLightFlareConfigAdjust=3 SMCPowerLightFlareConfigCeiling=1 "
        "SMCPowerLightFlareConfigMinChange=2 ");
  check(smcCode("{lso"), {0x80, 2},
        "SMCPowerLightOverrideRamp=true SMCPowerLightOverrideTargetBehavior=-128 ");
  EXPECT_EQ(shown(decodedSMCValue(smcCode("{zzz"), {})), "<decoding is currently not implemented>");
  EXPECT_EQ(Controller::valueDecodingNotImplementedMarker(), smcUnknownTypeMarker);
}

TEST(SMCValueDecoding, FixedPointCodesAreExactlyThose) {
  int recognized = 0;
  for (const auto prefix : {smcCode("fp\0\0"), smcCode("sp\0\0"), smcCode("sf\0\0")}) {
    for (SMCCode rest = 0; rest < 0x10000; ++rest) {
      const auto divisor = Controller::divisorForFloatingPointCode(prefix | rest);
      if (divisor == -1.0) continue;
      ++recognized;
      const auto digit = rest & 0xFF;
      EXPECT_EQ(divisor, 1 << (digit <= '9' ? digit - '0' : digit - 'a' + 10));
      // Negative in signed types.
      const std::uint8_t bytes[] = {0xC0, 0};
      EXPECT_EQ(decodedSMCValue(prefix | rest, bytes),
                (prefix == smcCode("sp\0\0") ? -16384 : 49152) / divisor);
      EXPECT_FALSE(decodedSMCValue(prefix | rest, {bytes, 1}));
    }
  }
  EXPECT_EQ(recognized, 31);
}

TEST(SMCValueDecoding, FixedPointNumbersAreEncodedByTruncation) {
  const auto encode = [](double value, const char* type) {
    std::uint16_t encoded = 0xABCD;
    const bool isEncoded = Controller::getSMCShort(&encoded, value, type);
    return isEncoded ? int{encoded} : encoded == 0xABCD ? -1 : -2;
  };
  EXPECT_EQ(encode(1.999, "fp88"), 0x01FF);
  EXPECT_EQ(encode(-1.999, "sp78"), 0xFE01);
  EXPECT_EQ(encode(70000, "spf0"), 70000 & 0xFFFF);
  EXPECT_EQ(encode(1e300, "fp88"), 0xFFFF);
  EXPECT_EQ(encode(-1e300, "fp88"), 0);
  EXPECT_EQ(encode(std::nan(""), "fp88"), 0);
  for (const auto* type : {"", "ui16", "fp00"}) EXPECT_EQ(encode(1, type), -1) << type;
  EXPECT_TRUE(Controller::getSMCShort(nullptr, 1, "fp88"));
}

TEST(SMCCodes, PackAndUnpack) {
  EXPECT_EQ(Controller::smcKeyFromString("REV "), 0x52455620u);
  EXPECT_EQ(Controller::smcKeyFromString("REV"), 0u);
  EXPECT_EQ(Controller::smcKeyFromString("REV  "), 0u);
  // Bytes behind the first are signed. Four characters may be more bytes.
  EXPECT_EQ(Controller::smcKeyFromString("\xC3\xA9zzz"), 0xC3000000u | 0xFFA90000u | 0x7A7A);
  EXPECT_EQ(Controller::stringFromSMCKey(0x75003820), "u   ");
}

class SMC : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(controller);
    model.exchanges.clear();
  }
  /// Has each exchange with that command fail.
  void fail(int command, ModelSMC::Fault fault) {
    model.fault = [=](auto& input, auto) {
      return input.command == command ? std::optional(fault) : std::nullopt;
    };
  }
  std::vector<int> takeCommands() {
    std::vector<int> asked;
    for (const auto& exchange : model.exchanges) asked.push_back(exchange.command);
    model.exchanges.clear();
    return asked;
  }

  ModelSMC model;
  test::RecordingLog log;
  const std::unique_ptr<Controller> controller = Controller::init(model, log);
};

TEST_F(SMC, TellsOfEveryKey) {
  EXPECT_EQ(controller->availableKeys().size(), model.keys.size());
  for (const auto& [key, type, bytes, isWriteOnly] : model.keys) {
    const auto name = Controller::stringFromSMCKey(key);
    EXPECT_EQ(controller->typeCodeOfPropertyWithKey(name), Controller::stringFromSMCKey(type));
    EXPECT_EQ(controller->isWriteOnlyPropertyWithKey(name), isWriteOnly);
  }
  std::string zeros;
  for (int i = 0; i < 255; ++i) zeros += "00 ";
  const std::pair<const char*, std::string> cases[] = {
      {"$Num", "200"},
      {"Xbad", "<received 1 bytes for type 'ui16': mismatch detected>"},
      {"Xfp0", "<received 2 bytes for type 'fp00': mismatch detected>"},
      {"ZWch", std::string(255, '\0')},
      {"ZWhx", zeros},
      {"ZWnw", "<decoding is currently not implemented>"},
      {"ZWui", "<write-only property>"}};
  for (const auto& [key, value] : cases) {
    EXPECT_EQ(shown(controller->valueForPropertyWithKey(key)), value) << key;
  }
}

TEST_F(SMC, FailuresAtEveryStepOfListingLeaveNoController) {
  SharedSMCController shared(model, log);
  const auto steps = 2 + model.keys.size();
  for (std::size_t step = 0; step < steps; ++step) {
    for (const auto fault : {ModelSMC::Fault{KernelReturn::busy}, ModelSMC::Fault{{}, 0x99}}) {
      model.exchanges.clear();
      model.fault = [&](auto&, auto number) {
        return number == step ? std::optional(fault) : std::nullopt;
      };
      EXPECT_FALSE(shared.controller()) << step;
      EXPECT_EQ(model.exchanges.size(), step + 1);
      EXPECT_EQ(log.texts().back(),
                "QRTSystemManagementController: could not " +
                    (step < 2 ? "determine available keys on this platform\n"
                              : "get key at index " + std::to_string(step - 2) + "\n"));
    }
  }
  model.fault = nullptr;
  auto* const listed = shared.controller();
  EXPECT_TRUE(listed);
  EXPECT_EQ(shared.controller(), listed);
  model.keys.front().type = smcCode("ui16");
  EXPECT_FALSE(Controller::init(model, log));
}

TEST_F(SMC, FailedReadsAreNoValueAndRefusedOnesAreWriteOnly) {
  const auto check = [&](int command, ModelSMC::Fault fault, const char* value, int loggedCode) {
    fail(command, fault);
    const auto lines = log.lines().size();
    EXPECT_EQ(shown(controller->valueForPropertyWithKey("BRSC")), value);
    EXPECT_EQ(controller->isWriteOnlyPropertyWithKey("BRSC"), value != std::string("none"));
    if (loggedCode == 0) return;
    EXPECT_EQ(log.texts().at(lines),
              "QRTSystemManagementController: failed to get value for key 'BRSC' (error " +
                  std::to_string(loggedCode) + ")\n");
  };
  check(smc_command::keyInfo, {KernelReturn::error}, "none", -536870212);
  check(smc_command::keyInfo, {{}, 0x84}, "none", -536870160);
  // Not even the type is known.
  check(smc_command::keyInfo, {{}, 0x85}, smcUnknownTypeMarker, 0);
  check(smc_command::readKey, {KernelReturn::noSpace}, "none", -536870181);
  check(smc_command::readKey, {{}, 1}, "<write-only property>", 0);
  // The driver's own code for it comes with an answer, if an empty one.
  check(smc_command::readKey, {KernelReturn::internalError}, "0", 0);
}

TEST_F(SMC, UnknownKeysHaveNothingAndAskNothing) {
  for (const auto* key : {"", "nope", "BRSCx", "REV"}) {
    EXPECT_FALSE(controller->valueForPropertyWithKey(key));
    EXPECT_FALSE(controller->typeCodeOfPropertyWithKey(key));
    EXPECT_FALSE(controller->isWriteOnlyPropertyWithKey(key));
    EXPECT_EQ(controller->precisionDeltaOfNumericPropertyWithKey(key), -1.0);
    EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey(key), -1);
    EXPECT_FALSE(controller->updateCacheForPropertyWithKey(key));
  }
  EXPECT_TRUE(model.exchanges.empty());
}

TEST_F(SMC, WritesOnlyWhatFitsTheKey) {
  // It need not be listed.
  model.keys.push_back({smcCode("Long"), smcCode("hex_"), Data(40)});
  const Data bytes(600, 0x5A);
  const auto write = [&](const char* key, std::size_t length, const std::vector<int>& commands) {
    const bool isWritten = controller->writeRawBytes(bytes.data(), length, key, log);
    EXPECT_EQ(isWritten, commands.size() == 2) << key << length;
    if (isWritten) {
      const auto& record = model.exchanges.back();
      EXPECT_EQ(record.dataSize, length % 256);
      EXPECT_EQ(std::count(record.bytes.begin(), record.bytes.end(), 0x5A),
                std::min<long>(record.dataSize, 32));
    }
    EXPECT_EQ(takeCommands(), commands) << key << length;
  };
  write("BRSC", 2, {9, 6});
  write("BRSC", 2 + 256, {9, 6});
  write("BRSC", 3, {9});
  write("BRSC", 0, {});
  write("BRSCx", 2, {});
  write("nope", 2, {9});
  write("Long", 40, {9, 6});
  EXPECT_FALSE(controller->writeRawBytes(nullptr, 2, "BRSC", log));
}

TEST_F(SMC, FailedWritesAreTold) {
  const std::uint8_t bytes[2] = {};
  const std::pair<int, ModelSMC::Fault> faults[] = {{9, {KernelReturn::error}},
                                                    {9, {{}, 0x84}},
                                                    {6, {{}, 0x86}},
                                                    {6, {KernelReturn::notPrivileged}}};
  for (const auto& [command, fault] : faults) {
    EXPECT_TRUE(log.lines().empty());
    fail(command, fault);
    EXPECT_FALSE(controller->writeRawBytes(bytes, 2, "BRSC", log));
  }
  EXPECT_EQ(log.texts(), std::vector<std::string>{
                             "SMC write failure: system 0x38 subsystem 0x0 error code 0x2c1."});
  EXPECT_EQ(log.lines().back().level, LogLevel::error);
}

TEST_F(SMC, ReadsAnewUnlessSomebodyFilledTheCache) {
  controller->valueForPropertyWithKey("BRSC");
  controller->valueForPropertyWithKey("BRSC");
  EXPECT_EQ(takeCommands(), (std::vector<int>{9, 5, 9, 5}));

  using Seconds = std::chrono::duration<double>;
  const Seconds now = std::chrono::system_clock::now().time_since_epoch();
  for (const auto& [age, value] : {std::pair(0.1, "cached"), {1.5, "65534"}}) {
    controller->propertyCache()["BRSC"] = Dictionary{{"Type", "sf7b"},
                                                     {"IsWriteOnly", true},
                                                     {"Value", "cached"},
                                                     {"LastAccess", Date{now.count() - age}}};
    EXPECT_EQ(shown(controller->valueForPropertyWithKey("BRSC")), value);
  }
  EXPECT_EQ(controller->typeCodeOfPropertyWithKey("BRSC"), "sf7b");
  EXPECT_TRUE(controller->isWriteOnlyPropertyWithKey("BRSC"));
  EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey("BRSC"), 2);
}

TEST_F(SMC, TellsItsSoftware) {
  EXPECT_EQ(controller->softwareVersion(), "2.11f260");
  EXPECT_EQ(controller->softwareBranchAndBuildGeneration(), std::string("m\xC3\xA9\0 (11)", 9));
  for (auto& key : model.keys) key.type = smcCode("flag");
  EXPECT_EQ(controller->softwareVersion(), "<received 6 bytes for type 'flag': mismatch detected>");
  EXPECT_EQ(controller->softwareBranchAndBuildGeneration(), "<?>");
}

TEST_F(SMC, PrecisionComesFromTheType) {
  const std::tuple<const char*, double, int> cases[] = {
      {"fp88", 1.0 / 256, 8}, {"fp1f", 1.0 / 32768, 6}, {"sp78", 1.0 / 256, 0},
      {"spf0", 1.0, 0},       {"$Num", -1.0, 0},        {"Xfp0", -1.0, 0}};
  for (const auto& [key, delta, digits] : cases) {
    EXPECT_EQ(controller->precisionDeltaOfNumericPropertyWithKey(key), delta) << key;
    EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey(key), digits) << key;
  }
}

}  // namespace
}  // namespace qrt
