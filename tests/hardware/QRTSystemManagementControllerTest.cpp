#include "hardware/QRTSystemManagementController.h"

#include <gtest/gtest.h>

#include <algorithm>
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

/// A boolean, an integer or a fraction by its form; a structure as "prefix{field=value
/// field=value}".
std::string shown(const std::optional<PropertyValue>& value) {
  if (!value) return "none";
  if (const auto* text = value->string()) return *text;
  if (const auto* number = value->number()) {
    const auto& kind = number->storage();
    if (std::holds_alternative<bool>(kind)) return number->asBool() ? "true" : "false";
    const bool isFraction = std::holds_alternative<double>(kind);
    return isFraction ? std::to_string(number->asDouble()) : std::to_string(number->asInt64());
  }
  const auto& fields = *value->dictionary();
  const auto& first = fields.begin()->first;
  const auto& last = fields.rbegin()->first;
  const auto prefix = std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first;
  std::string text(first.begin(), prefix);
  for (const auto& [name, field] : fields) {
    text += (name == first ? '{' : ' ') + name.substr(prefix - first.begin()) + '=' + shown(field);
  }
  return text + '}';
}

Data bytesOf(std::string_view hexadecimal) {
  Data bytes;
  for (std::size_t i = 0; i < hexadecimal.size(); i += 2) {
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoi(std::string(hexadecimal.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

TEST(SMCValueDecoding, EveryTypeHasItsValueAndItsSize) {
  std::vector<std::tuple<SMCCode, const char*, std::string>> cases = {
      {smcCode("ui16"), "fffe", "65534"},
      {smcCode("ui32"), "f0090002", "4027121666"},
      {smcCode("si16"), "8000", "-32768"},
      {smcCode("flag"), "02", "true"},
      {smcCode("char"), "e9", "\xC3\xA9"},
      {smcCode("si8 "), "41", "A"},
      {smcCode("si8 "), "ff", "none"},
      {smcCode("si8\0"), "00", ""},
      {smcCode("ch8*"), "6dc3a900", std::string("m\xC3\xA9\0", 4)},
      {smcCode("ch8*"), "6de9", "6d e9 "},
      {smcCode("hex_"), "00ab10", "00 ab 10 "},
      {smcCode("{rev"), "020b0f630104", "2.11f260"},
      {smcCode("{ala"), "0012fff68000",
       "SMCAmbientLightLuxFunction{Region=32768 Slope=18 YIntercept=-10}"},
      {smcCode("{alc"), "010009090002000300040005ffff06ff",
       "SMCAmbientLight{ADCTime=256 BezelReflection=65535 HighRoomLux=5 I2CTime=256 LidDelay=255 "
       "LowRoomLux=4 PowerLightMax=2 PowerLightMin=3 SensorCount=6}"},
      {smcCode("{ali"), "ff0100",
       "SMCAmbientLightSensor{IsControllingPowerLight=false IsValidWhenLidClosed=true Type=-1}"},
      {smcCode("{alr"), "fff000091234ffff0050",
       "SMCAmbientLight{HighTempBoundary=80 InflectionVoltage=4660 LowTempBoundary=-1 "
       "TemperatureBaseline=-16 TemperatureCoefficient=1.125000}"},
      {smcCode("{alt"), "00100200", "SMCAmbientLightLuxThreshold{HighGain=512 LowGain=16}"},
      {smcCode("{alv"), "010001020304090900016000",
       "SMCAmbientLight{Channel0=258 Channel1=772 IsHighGain=false IsValid=true RoomLux=5.500000}"},
      {smcCode("{fds"), "ffff01094ce966740068696464656e00",
       "SMCFan{Function=L\xC3\xA9"
       "ft Location=1 Type=-1 Zone=255}"},
      {smcCode("{lsc"), "000100024000fe030104",
       "SMCPowerLight{BreathePWM=1 IsSwitchOverridingBrightness=true MinimumTicksToTarget=4 "
       "PWMChangePerTick=2 RampDuration=3 ScaleMode=-2 Scaling=0.500000}"},
      {smcCode("{lsd"), "0001000200030104",
       "SMCPowerLightFadeConfig{EndTicks=260 MidToEndRatio=2 MidToStartRatio=1 StartTicks=3}"},
      {smcCode("{lsf"), "000100020003", "SMCPowerLightFlareConfig{Adjust=3 Ceiling=1 MinChange=2}"},
      {smcCode("{lso"), "8002", "SMCPowerLightOverride{Ramp=true TargetBehavior=-128}"},
  };
  for (const auto type : {smcCode("byte"), smcCode("ui8 "), smcCode("ui8\0"), smcCode("{lsm"),
                          smcCode("{lss"), smcCode("{msp"), smcCode("{mss")}) {
    cases.emplace_back(type, "c8", "200");
  }
  for (const auto type : {smcCode("ui6 "), smcCode("ui6\0"), smcCode("{pwm")}) {
    cases.emplace_back(type, "0100", "256");
  }
  for (const auto& [type, hexadecimal, wanted] : cases) {
    SCOPED_TRACE(Controller::stringFromSMCKey(type));
    auto bytes = bytesOf(hexadecimal);
    EXPECT_EQ(shown(decodedSMCValue(type, bytes)), wanted);
    if (type == smcCode("ch8*") || type == smcCode("hex_")) continue;
    EXPECT_FALSE(decodedSMCValue(type, {bytes.data(), bytes.size() - 1}));
    bytes.insert(bytes.end(), 8, 'x');
    EXPECT_FALSE(decodedSMCValue(type, bytes));
  }
  EXPECT_EQ(shown(decodedSMCValue(smcCode("{zzz"), {})), "<decoding is currently not implemented>");
  EXPECT_EQ(Controller::valueDecodingNotImplementedMarker(), smcUnknownTypeMarker);
}

TEST(SMCValueDecoding, ExactlyTheFixedPointCodesHaveADivisor) {
  int recognized = 0;
  for (const auto prefix : {smcCode("fp\0\0"), smcCode("sp\0\0"), smcCode("sf\0\0")}) {
    for (SMCCode rest = 0; rest < 0x10000; ++rest) {
      const auto divisor = Controller::divisorForFloatingPointCode(prefix | rest);
      if (divisor == -1.0) continue;
      ++recognized;
      const auto digit = rest & 0xFF;
      EXPECT_EQ(divisor, 1 << (digit <= '9' ? digit - '0' : digit - 'a' + 10));
      const std::uint8_t bytes[] = {0xC0, 0};
      EXPECT_EQ(decodedSMCValue(prefix | rest, bytes),
                (prefix == smcCode("sp\0\0") ? -16384 : 49152) / divisor);
      EXPECT_FALSE(decodedSMCValue(prefix | rest, {bytes, 1}));
    }
  }
  EXPECT_EQ(recognized, 31);

  constexpr int refused = -1;
  const std::tuple<double, const char*, int> encodings[] = {
      {1.999, "fp88", 0x01FF}, {-1.999, "sp78", 0xFE01}, {70000, "spf0", 70000 & 0xFFFF},
      {1e300, "fp88", 0xFFFF}, {-1e300, "fp88", 0},      {std::nan(""), "fp88", 0},
      {1, "", refused},        {1, "ui16", refused},     {1, "fp00", refused}};
  for (const auto& [value, type, wanted] : encodings) {
    std::uint16_t encoded = 0;
    const bool isEncoded = Controller::getSMCShort(&encoded, value, type);
    EXPECT_EQ(isEncoded ? int{encoded} : refused, wanted) << value << type;
  }
  EXPECT_TRUE(Controller::getSMCShort(nullptr, 1, "fp88"));
}

TEST(SMCCodes, ATextOfFourCharactersHasACode) {
  const std::pair<const char*, SMCCode> cases[] = {
      {"REV ", 0x52455620u},
      {"REV", 0},
      {"REV  ", 0},
      // Bytes after the first are signed. Four characters may be more bytes.
      {"\xC3\xA9zzz", 0xC3000000u | 0xFFA90000u | 0x7A7A}};
  for (const auto& [text, code] : cases) EXPECT_EQ(Controller::smcKeyFromString(text), code);
  EXPECT_EQ(Controller::stringFromSMCKey(0x75003820), "u   ");
}

class SMC : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(controller);
    model.exchanges.clear();
  }
  /// Each exchange with that command fails.
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

TEST_F(SMC, EveryKeyHasItsTypeAndAValue) {
  EXPECT_EQ(controller->availableKeys().size(), model.keys.size());
  for (const auto& [key, type, bytes, isWriteOnly] : model.keys) {
    const auto name = Controller::stringFromSMCKey(key);
    EXPECT_EQ(controller->typeCodeOfPropertyWithKey(name), Controller::stringFromSMCKey(type));
    EXPECT_EQ(controller->isWriteOnlyPropertyWithKey(name), isWriteOnly);
  }
  std::string zeros;
  for (int i = 0; i < 255; ++i) zeros += "00 ";
  const struct {
    const char* key;
    std::string value;
    double delta = -1;
    int digits = 0;
  } cases[] = {{"$Num", "200"},
               {"Xbad", "<received 1 bytes for type 'ui16': mismatch detected>"},
               {"Xfp0", "<received 2 bytes for type 'fp00': mismatch detected>"},
               {"ZWch", std::string(255, '\0')},
               {"ZWhx", zeros},
               {"ZWnw", "<decoding is currently not implemented>"},
               {"ZWui", "<write-only property>"},
               {"fp88", "192.000000", 1.0 / 256, 8},
               {"fp1f", "1.500000", 1.0 / 32768, 6},
               {"sp78", "-64.000000", 1.0 / 256, 0},
               {"spf0", "-16384.000000", 1, 0}};
  for (const auto& [key, value, delta, digits] : cases) {
    EXPECT_EQ(shown(controller->valueForPropertyWithKey(key)), value) << key;
    EXPECT_EQ(controller->precisionDeltaOfNumericPropertyWithKey(key), delta) << key;
    EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey(key), digits) << key;
  }
  EXPECT_EQ(controller->softwareVersion(), "2.11f260");
  EXPECT_EQ(controller->softwareBranchAndBuildGeneration(), std::string("m\xC3\xA9\0 (11)", 9));
  for (auto& key : model.keys) key.type = smcCode("flag");
  EXPECT_EQ(controller->softwareVersion(), "<received 6 bytes for type 'flag': mismatch detected>");
  EXPECT_EQ(controller->softwareBranchAndBuildGeneration(), "<?>");
}

TEST_F(SMC, AFailureWhileKeysAreListedLeavesNoController) {
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

TEST_F(SMC, AFailedReadHasNoValueAndARefusedOneIsWriteOnly) {
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
  // The same code from the exchange leaves an empty value.
  check(smc_command::readKey, {KernelReturn::internalError}, "0", 0);
}

TEST_F(SMC, AnUnknownKeyIsNotRead) {
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

TEST_F(SMC, WritesOnlyBytesThatFitTheKey) {
  // Not listed.
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

TEST_F(SMC, AFailedExchangeOfAWriteIsLogged) {
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

TEST_F(SMC, ReadsEachTimeUnlessTheCacheWasFilled) {
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

}  // namespace
}  // namespace qrt
