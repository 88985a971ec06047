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
  ModelKey(SMCCode name, SMCCode itsType, Data contents, PropertyValue itsMeaning)
      : key(name), type(itsType), bytes(std::move(contents)), meaning(std::move(itsMeaning)) {}
  /// `codes` are the key's and the type's.
  ModelKey(const char (&codes)[9], Data contents, PropertyValue itsMeaning, bool writeOnly = false)
      : ModelKey(codeAt(codes), codeAt(codes + 4), std::move(contents), std::move(itsMeaning)) {
    isWriteOnly = writeOnly;
  }

  SMCCode key;
  SMCCode type;
  Data bytes;
  /// What the bytes stand for.
  PropertyValue meaning;
  bool isWriteOnly = false;

 private:
  static SMCCode codeAt(const char* text) {
    SMCCode code = 0;
    for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<std::uint8_t>(text[i]);
    return code;
  }
};

/// More than sixty keys, every type among them.
inline std::vector<ModelKey> modelKeys() {
  using D = Dictionary;
  const std::string writeOnly = "<write-only property>";
  const std::string unknown = "<decoding is currently not implemented>";
  std::string zeros;
  for (int i = 0; i < 255; ++i) zeros += "00 ";
  std::vector<ModelKey> keys = {
      {"$Numui8 ", {200}, 200},
      {"ALA0{ala",
       {0, 18, 0xFF, 0xF6, 0x80, 0},
       D{{"SMCAmbientLightLuxFunctionSlope", 18},
         {"SMCAmbientLightLuxFunctionYIntercept", -10},
         {"SMCAmbientLightLuxFunctionRegion", 32768}}},
      {"ALAT{alt",
       {0, 16, 2, 0},
       D{{"SMCAmbientLightLuxThresholdLowGain", 16}, {"SMCAmbientLightLuxThresholdHighGain", 512}}},
      {"ALC0{alc",
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
      {"ALI0{ali",
       {0xFF, 1, 0},
       D{{"SMCAmbientLightSensorType", -1},
         {"SMCAmbientLightSensorIsValidWhenLidClosed", true},
         {"SMCAmbientLightSensorIsControllingPowerLight", false}}},
      {"ALR0{alr",
       {0xFF, 0xF0, 0, 9, 0x12, 0x34, 0xFF, 0xFF, 0, 80},
       D{{"SMCAmbientLightTemperatureBaseline", -16},
         {"SMCAmbientLightTemperatureCoefficient", 1.125},
         {"SMCAmbientLightInflectionVoltage", 4660},
         {"SMCAmbientLightLowTempBoundary", -1},
         {"SMCAmbientLightHighTempBoundary", 80}}},
      {"ALV0{alv",
       {1, 0, 1, 2, 3, 4, 9, 9, 0, 1, 0x60, 0},
       D{{"SMCAmbientLightIsValid", true},
         {"SMCAmbientLightIsHighGain", false},
         {"SMCAmbientLightChannel0", 258},
         {"SMCAmbientLightChannel1", 772},
         {"SMCAmbientLightRoomLux", 5.5}}},
      {"BRSCui16", {0xFF, 0xFE}, 65534},
      {"EPCAbyte", {255}, 255},
      {"EPCIui32", {0xF0, 9, 0, 2}, 4027121666},
      {"F0ID{fds",
       {0xFF, 255, 1, 9, 'L', 'e', 'f', 't', ' ', 's', 'i', 'd', 'e', ' ', ' ', '!'},
       D{{"SMCFanType", -1},
         {"SMCFanZone", 255},
         {"SMCFanLocation", 1},
         {"SMCFanFunction", "Left side  !"}}},
      {"F1ID{fds",
       {0, 0, 0, 0, 'E', 'x', 0, 'h', 0, 0, 0, 0, 0, 0, 0, 0},
       D{{"SMCFanType", 0}, {"SMCFanZone", 0}, {"SMCFanLocation", 0}, {"SMCFanFunction", "Ex"}}},
      {"FPhz{pwm", {0, 100}, 100},
      {"LSC0{lsc",
       {0, 1, 0, 2, 0x40, 0, 0xFE, 3, 1, 4},
       D{{"SMCPowerLightBreathePWM", 1},
         {"SMCPowerLightPWMChangePerTick", 2},
         {"SMCPowerLightScaling", 0.5},
         {"SMCPowerLightScaleMode", -2},
         {"SMCPowerLightRampDuration", 3},
         {"SMCPowerLightIsSwitchOverridingBrightness", true},
         {"SMCPowerLightMinimumTicksToTarget", 4}}},
      {"LSD0{lsd",
       {0, 1, 0, 2, 0, 3, 1, 4},
       D{{"SMCPowerLightFadeConfigMidToStartRatio", 1},
         {"SMCPowerLightFadeConfigMidToEndRatio", 2},
         {"SMCPowerLightFadeConfigStartTicks", 3},
         {"SMCPowerLightFadeConfigEndTicks", 260}}},
      {"LSF0{lsf",
       {0, 1, 0, 2, 0, 3},
       D{{"SMCPowerLightFlareConfigCeiling", 1},
         {"SMCPowerLightFlareConfigMinChange", 2},
         {"SMCPowerLightFlareConfigAdjust", 3}}},
      {"LSLB{lsm", {7}, 7},
      {"LSLF{lss", {8}, 8},
      {"LSLN{msp", {9}, 9},
      {"LSOO{lso",
       {0x80, 2},
       D{{"SMCPowerLightOverrideTargetBehavior", -128}, {"SMCPowerLightOverrideRamp", true}}},
      {"MSPS{mss", {10}, 10},
      {"NATJui8\0", {3}, 3},
      {"RBr ch8*", {'m', 0xC3, 0xA9, 0}, std::string("m\xC3\xA9\0", 4)},
      {"RBrXch8*", {'m', 0xE9}, "6d e9 "},
      {"REV {rev", {2, 11, 0x0F, 99, 1, 4}, "2.11f260"},
      {"RSvnui32", {0, 0, 0, 11}, 11},
      {"SCHRchar", {0xE9}, "\xC3\xA9"},
      {"SFLGflag", {2}, true},
      {"SHEXhex_", {0, 0xAB, 0x10}, "00 ab 10 "},
      {"SI16si16", {0x80, 0}, -32768},
      {"SI8 si8 ", {'A'}, "A"},
      {"SI80si8\0", {0}, ""},
      {"SI8Xsi8 ", {0xFF}, "<received 1 bytes for type 'si8 ': mismatch detected>"},
      {"UI6 ui6 ", {1, 0}, 256},
      {"UI60ui6\0", {1, 1}, 257},
      {"Xbadui16", {1}, "<received 1 bytes for type 'ui16': mismatch detected>"},
      {"Xfp0fp00", {1, 1}, "<received 2 bytes for type 'fp00': mismatch detected>"},
      {"Xnew{zzz", {1}, unknown},
      {"ZWchch8*", {1}, std::string(255, '\0'), true},
      {"ZWhxhex_", {1}, zeros, true},
      {"ZWnwzzzz", {1}, unknown, true},
      {"ZWuiui8 ", {1}, writeOnly, true},
  };
  // 0xC000, which is negative in signed types, by their fraction bits.
  const auto digit = [](SMCCode value) { return value < 10 ? '0' + value : 'a' - 10 + value; };
  for (SMCCode fraction = 0; fraction <= 15; ++fraction) {
    const auto sp = smcCode("sp\0\0") | digit(15 - fraction) << 8 | digit(fraction);
    keys.push_back({sp, sp, {0xC0, 0}, -16384.0 / (1 << fraction)});
    if (fraction == 0) continue;
    const auto fp = smcCode("fp\0\0") | digit(16 - fraction) << 8 | digit(fraction);
    keys.push_back({fp, fp, {0xC0, 0}, 49152.0 / (1 << fraction)});
  }
  // A controller keeps its list sorted and counts the key that tells the count.
  const auto count = static_cast<std::uint8_t>(keys.size() + 1);
  keys.push_back({"#KEYui32", {0, 0, 0, count}, count});
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
