// A System Management Controller made of a table.
#pragma once

#include <algorithm>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "hardware/SMCCode.h"
#include "platform/SMCExchange.h"

namespace qrt::test {

struct ModelKey {
  SMCCode key;
  SMCCode type;
  Data bytes;
  /// What the bytes stand for.
  PropertyValue meaning;
  bool isWriteOnly = false;
};

/// More than sixty keys, every type among them.
inline std::vector<ModelKey> modelKeys() {
  using D = Dictionary;
  const std::string writeOnly = "<write-only property>";
  const std::string unknown = "<decoding is currently not implemented>";
  std::string zeros;
  for (int i = 0; i < 255; ++i) zeros += "00 ";
  std::vector<ModelKey> keys = {
      {smcCode("$Num"), smcCode("ui8 "), {200}, 200},
      {smcCode("ALA0"),
       smcCode("{ala"),
       {0, 18, 0xFF, 0xF6, 0x80, 0},
       D{{"SMCAmbientLightLuxFunctionSlope", 18},
         {"SMCAmbientLightLuxFunctionYIntercept", -10},
         {"SMCAmbientLightLuxFunctionRegion", 32768}}},
      {smcCode("ALAT"),
       smcCode("{alt"),
       {0, 16, 2, 0},
       D{{"SMCAmbientLightLuxThresholdLowGain", 16}, {"SMCAmbientLightLuxThresholdHighGain", 512}}},
      {smcCode("ALC0"),
       smcCode("{alc"),
       {1, 0, 9, 9, 0, 2, 0, 3, 0, 4, 0, 5, 0xFF, 0xFF, 6, 255},
       D{{"SMCAmbientLightI2CTime", 256},
         {"SMCAmbientLightADCTime", 256},
         {"SMCAmbientLightPowerLightMax", 2},
         {"SMCAmbientLightPowerLightMin", 3},
         {"SMCAmbientLightLowRoomLux", 4},
         {"SMCAmbientLightHighRoomLux", 5},
         {"SMCAmbientLightBezelReflection", 65535},
         {"SMCAmbientLightSensorCount", 6},
         {"SMCAmbientLightLidDelay", 255}}},
      {smcCode("ALI0"),
       smcCode("{ali"),
       {0xFF, 1, 0},
       D{{"SMCAmbientLightSensorType", -1},
         {"SMCAmbientLightSensorIsValidWhenLidClosed", true},
         {"SMCAmbientLightSensorIsControllingPowerLight", false}}},
      {smcCode("ALR0"),
       smcCode("{alr"),
       {0xFF, 0xF0, 0, 9, 0x12, 0x34, 0xFF, 0xFF, 0, 80},
       D{{"SMCAmbientLightTemperatureBaseline", -16},
         {"SMCAmbientLightTemperatureCoefficient", 1.125},
         {"SMCAmbientLightInflectionVoltage", 4660},
         {"SMCAmbientLightLowTempBoundary", -1},
         {"SMCAmbientLightHighTempBoundary", 80}}},
      {smcCode("ALV0"),
       smcCode("{alv"),
       {1, 0, 1, 2, 3, 4, 9, 9, 0, 1, 0x60, 0},
       D{{"SMCAmbientLightIsValid", true},
         {"SMCAmbientLightIsHighGain", false},
         {"SMCAmbientLightChannel0", 258},
         {"SMCAmbientLightChannel1", 772},
         {"SMCAmbientLightRoomLux", 5.5}}},
      {smcCode("BRSC"), smcCode("ui16"), {0xFF, 0xFE}, 65534},
      {smcCode("EPCA"), smcCode("byte"), {255}, 255},
      {smcCode("EPCI"), smcCode("ui32"), {0xF0, 9, 0, 2}, 4027121666},
      {smcCode("F0ID"),
       smcCode("{fds"),
       {0xFF, 255, 1, 9, 'L', 'e', 'f', 't', ' ', 's', 'i', 'd', 'e', ' ', ' ', '!'},
       D{{"SMCFanType", -1},
         {"SMCFanZone", 255},
         {"SMCFanLocation", 1},
         {"SMCFanFunction", "Left side  !"}}},
      {smcCode("F1ID"),
       smcCode("{fds"),
       {0, 0, 0, 0, 'E', 'x', 0, 'h', 0, 0, 0, 0, 0, 0, 0, 0},
       D{{"SMCFanType", 0}, {"SMCFanZone", 0}, {"SMCFanLocation", 0}, {"SMCFanFunction", "Ex"}}},
      {smcCode("FPhz"), smcCode("{pwm"), {0, 100}, 100},
      {smcCode("LSC0"),
       smcCode("{lsc"),
       {0, 1, 0, 2, 0x40, 0, 0xFE, 3, 1, 4},
       D{{"SMCPowerLightBreathePWM", 1},
         {"SMCPowerLightPWMChangePerTick", 2},
         {"SMCPowerLightScaling", 0.5},
         {"SMCPowerLightScaleMode", -2},
         {"SMCPowerLightRampDuration", 3},
         {"SMCPowerLightIsSwitchOverridingBrightness", true},
         {"SMCPowerLightMinimumTicksToTarget", 4}}},
      {smcCode("LSD0"),
       smcCode("{lsd"),
       {0, 1, 0, 2, 0, 3, 1, 4},
       D{{"SMCPowerLightFadeConfigMidToStartRatio", 1},
         {"SMCPowerLightFadeConfigMidToEndRatio", 2},
         {"SMCPowerLightFadeConfigStartTicks", 3},
         {"SMCPowerLightFadeConfigEndTicks", 260}}},
      {smcCode("LSF0"),
       smcCode("{lsf"),
       {0, 1, 0, 2, 0, 3},
       D{{"SMCPowerLightFlareConfigCeiling", 1},
         {"SMCPowerLightFlareConfigMinChange", 2},
         {"SMCPowerLightFlareConfigAdjust", 3}}},
      {smcCode("LSLB"), smcCode("{lsm"), {7}, 7},
      {smcCode("LSLF"), smcCode("{lss"), {8}, 8},
      {smcCode("LSLN"), smcCode("{msp"), {9}, 9},
      {smcCode("LSOO"),
       smcCode("{lso"),
       {0x80, 2},
       D{{"SMCPowerLightOverrideTargetBehavior", -128}, {"SMCPowerLightOverrideRamp", true}}},
      {smcCode("MSPS"), smcCode("{mss"), {10}, 10},
      {smcCode("NATJ"), smcCode("ui8\0"), {3}, 3},
      {smcCode("RBr "), smcCode("ch8*"), {'m', 0xC3, 0xA9, 0}, std::string("m\xC3\xA9\0", 4)},
      {smcCode("RBrX"), smcCode("ch8*"), {'m', 0xE9}, "6d e9 "},
      {smcCode("REV "), smcCode("{rev"), {2, 11, 0x0F, 99, 1, 4}, "2.11f260"},
      {smcCode("RSvn"), smcCode("ui32"), {0, 0, 0, 11}, 11},
      {smcCode("SCHR"), smcCode("char"), {0xE9}, "\xC3\xA9"},
      {smcCode("SFLG"), smcCode("flag"), {2}, true},
      {smcCode("SHEX"), smcCode("hex_"), {0, 0xAB, 0x10}, "00 ab 10 "},
      {smcCode("SI16"), smcCode("si16"), {0x80, 0}, -32768},
      {smcCode("SI8 "), smcCode("si8 "), {'A'}, "A"},
      {smcCode("SI80"), smcCode("si8\0"), {0}, ""},
      {smcCode("SI8X"),
       smcCode("si8 "),
       {0xFF},
       "<received 1 bytes for type 'si8 ': mismatch detected>"},
      {smcCode("UI6 "), smcCode("ui6 "), {1, 0}, 256},
      {smcCode("UI60"), smcCode("ui6\0"), {1, 1}, 257},
      {smcCode("Xbad"),
       smcCode("ui16"),
       {1},
       "<received 1 bytes for type 'ui16': mismatch detected>"},
      {smcCode("Xfp0"),
       smcCode("fp00"),
       {1, 1},
       "<received 2 bytes for type 'fp00': mismatch detected>"},
      {smcCode("Xnew"), smcCode("{zzz"), {1}, unknown},
      {smcCode("ZWch"), smcCode("ch8*"), {1}, std::string(255, '\0'), true},
      {smcCode("ZWhx"), smcCode("hex_"), {1}, zeros, true},
      {smcCode("ZWnw"), smcCode("zzzz"), {1}, unknown, true},
      {smcCode("ZWui"), smcCode("ui8 "), {1}, writeOnly, true},
  };
  // 0xC000, which is negative in signed types, by their fraction bits.
  for (SMCCode fraction = 1; fraction <= 15; ++fraction) {
    constexpr auto digit = [](SMCCode value) {
      return value < 10 ? '0' + value : 'a' - 10 + value;
    };
    const auto type = smcCode("fp\0\0") | digit(16 - fraction) << 8 | digit(fraction);
    keys.push_back({type, type, {0xC0, 0}, 49152.0 / (1 << fraction)});
  }
  for (SMCCode fraction = 0; fraction <= 15; ++fraction) {
    constexpr auto digit = [](SMCCode value) {
      return value < 10 ? '0' + value : 'a' - 10 + value;
    };
    const auto type = smcCode("sp\0\0") | digit(15 - fraction) << 8 | digit(fraction);
    keys.push_back({type, type, {0xC0, 0}, -16384.0 / (1 << fraction)});
  }
  // A controller keeps its list sorted and counts the key that tells the count.
  const auto count = static_cast<std::uint8_t>(keys.size() + 1);
  keys.push_back({smcCode("#KEY"), smcCode("ui32"), {0, 0, 0, count}, count});
  std::sort(keys.begin(), keys.end(), [](auto& a, auto& b) { return a.key < b.key; });
  return keys;
}

/// Answers like a controller with those keys, remembers what it was asked, and can be made to fail.
class ModelSMC : public SMCExchange {
 public:
  struct Fault {
    KernelReturn code = KernelReturn::noError;
    std::uint8_t result = 0;
  };
  /// Asked before an exchange is answered. `number` counts from 0.
  std::function<std::optional<Fault>(const SMCParameterRecord& input, std::size_t number)> fault;
  std::vector<ModelKey> keys = modelKeys();
  std::vector<SMCParameterRecord> exchanges;

  KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) override {
    const std::lock_guard lock(mutex_);
    exchanges.push_back(input);
    if (const auto failing = fault ? fault(input, exchanges.size() - 1) : std::nullopt) {
      output.result = failing->result;
      return failing->code;
    }
    output.result = answer(input, output);
    return KernelReturn::noError;
  }

 private:
  std::uint8_t answer(const SMCParameterRecord& input, SMCParameterRecord& output) {
    if (input.command == smc_command::keyAtIndex) {
      if (input.index >= keys.size()) return smc_result::keyNotFound;
      output.key = keys[input.index].key;
      return smc_result::success;
    }
    const auto key = std::find_if(keys.begin(), keys.end(),
                                  [&](const ModelKey& each) { return each.key == input.key; });
    if (key == keys.end()) return smc_result::keyNotFound;
    switch (input.command) {
      case smc_command::keyInfo:
        output.dataType = key->type;
        output.dataSize = static_cast<std::uint32_t>(key->bytes.size());
        return smc_result::success;
      case smc_command::readKey:
        if (key->isWriteOnly) return smc_result::keyNotReadable;
        std::copy_n(key->bytes.begin(), std::min(key->bytes.size(), output.bytes.size()),
                    output.bytes.begin());
        return smc_result::success;
      default:
        std::copy_n(input.bytes.begin(), std::min(key->bytes.size(), input.bytes.size()),
                    key->bytes.begin());
        return smc_result::success;
    }
  }

  std::mutex mutex_;
};

}  // namespace qrt::test
