#include "hardware/SMCValueDecoding.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "base/Utf8.h"
#include "hardware/SMCFixedPoint.h"

namespace qrt {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// Reads a value from the beginning of bytes that are long enough for it.
using Reader = std::optional<PropertyValue> (*)(Bytes);

std::string_view characters(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string_view upToNul(std::string_view text) { return text.substr(0, text.find('\0')); }

template <class Integer>
Integer bigEndian(Bytes bytes) {
  Integer value = 0;
  for (std::size_t i = 0; i < sizeof value; ++i) {
    value = static_cast<Integer>(value << 8 | bytes[i]);
  }
  return value;
}

std::optional<PropertyValue> u8(Bytes bytes) { return bytes[0]; }
std::optional<PropertyValue> s8(Bytes bytes) { return static_cast<std::int8_t>(bytes[0]); }
std::optional<PropertyValue> boolean(Bytes bytes) { return bytes[0] != 0; }
std::optional<PropertyValue> u16(Bytes bytes) { return bigEndian<std::uint16_t>(bytes); }
std::optional<PropertyValue> s16(Bytes bytes) {
  return static_cast<std::int16_t>(bigEndian<std::uint16_t>(bytes));
}
std::optional<PropertyValue> u32(Bytes bytes) { return bigEndian<std::uint32_t>(bytes); }

/// An integer in units of 2 to the power of `exponent`.
template <Reader integer, int exponent>
std::optional<PropertyValue> scaled(Bytes bytes) {
  return std::ldexp(integer(bytes)->number()->asDouble(), exponent);
}

std::string hexadecimal(std::uint8_t byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  return {digits[byte >> 4], digits[byte & 0xF]};
}

std::optional<PropertyValue> dump(Bytes bytes) {
  std::string text;
  for (const auto byte : bytes) text += hexadecimal(byte) + ' ';
  return text;
}

std::optional<PropertyValue> textOrDump(Bytes bytes) {
  const auto text = characters(bytes);
  return isValidUtf8(text) ? PropertyValue(text) : dump(bytes);
}

std::optional<PropertyValue> character(Bytes bytes) {
  return textOfEightBitCharacters(characters(bytes));
}

std::optional<PropertyValue> nulTerminatedText(Bytes bytes) {
  const auto text = upToNul(characters(bytes));
  if (!isValidUtf8(text)) return std::nullopt;
  return text;
}

/// The text that fills the rest of a structure.
std::optional<PropertyValue> trailingText(Bytes bytes) {
  return textOfEightBitCharacters(upToNul(characters(bytes)));
}

/// "2.11f8": major, minor, build (hexadecimal), release. The byte before the release is reserved.
std::optional<PropertyValue> revision(Bytes bytes) {
  auto build = hexadecimal(bytes[2]);
  if (build.front() == '0') build.erase(0, 1);
  return std::to_string(bytes[0]) + '.' + std::to_string(bytes[1]) + build +
         std::to_string(bigEndian<std::uint16_t>(bytes.subspan(4)));
}

struct Field {
  const char* name;
  std::size_t offset;
  Reader read;
};

constexpr Field ambientLightFunction[] = {
    {"SMCAmbientLightLuxFunctionSlope", 0, u16},
    {"SMCAmbientLightLuxFunctionYIntercept", 2, s16},
    {"SMCAmbientLightLuxFunctionRegion", 4, u16},
};
constexpr Field ambientLightConfiguration[] = {
    {"SMCAmbientLightI2CTime", 0, u16},
    // The same bytes again. The next two are never read.
    {"SMCAmbientLightADCTime", 0, u16},
    {"SMCAmbientLightPowerLightMax", 4, u16},
    {"SMCAmbientLightPowerLightMin", 6, u16},
    {"SMCAmbientLightLowRoomLux", 8, u16},
    {"SMCAmbientLightHighRoomLux", 10, u16},
    {"SMCAmbientLightBezelReflection", 12, u16},
    {"SMCAmbientLightSensorCount", 14, u8},
    {"SMCAmbientLightLidDelay", 15, u8},
};
constexpr Field ambientLightSensor[] = {
    {"SMCAmbientLightSensorType", 0, s8},
    {"SMCAmbientLightSensorIsValidWhenLidClosed", 1, boolean},
    {"SMCAmbientLightSensorIsControllingPowerLight", 2, boolean},
};
constexpr Field ambientLightTemperature[] = {
    {"SMCAmbientLightTemperatureBaseline", 0, s16},
    {"SMCAmbientLightTemperatureCoefficient", 2, scaled<u16, -3>},
    {"SMCAmbientLightInflectionVoltage", 4, u16},
    {"SMCAmbientLightLowTempBoundary", 6, s16},
    {"SMCAmbientLightHighTempBoundary", 8, s16},
};
constexpr Field ambientLightThresholds[] = {
    {"SMCAmbientLightLuxThresholdLowGain", 0, u16},
    {"SMCAmbientLightLuxThresholdHighGain", 2, u16},
};
constexpr Field ambientLightValue[] = {
    {"SMCAmbientLightIsValid", 0, boolean},
    {"SMCAmbientLightIsHighGain", 1, boolean},
    {"SMCAmbientLightChannel0", 2, u16},
    {"SMCAmbientLightChannel1", 4, u16},
    {"SMCAmbientLightRoomLux", 8, scaled<u32, -14>},
};
constexpr Field fanDescription[] = {
    {"SMCFanType", 0, s8},
    {"SMCFanZone", 1, u8},
    {"SMCFanLocation", 2, s8},
    {"SMCFanFunction", 4, trailingText},
};
constexpr Field powerLightControl[] = {
    {"SMCPowerLightBreathePWM", 0, u16},
    {"SMCPowerLightPWMChangePerTick", 2, u16},
    {"SMCPowerLightScaling", 4, scaled<u16, -15>},
    {"SMCPowerLightScaleMode", 6, s8},
    {"SMCPowerLightRampDuration", 7, u8},
    {"SMCPowerLightIsSwitchOverridingBrightness", 8, boolean},
    {"SMCPowerLightMinimumTicksToTarget", 9, u8},
};
constexpr Field powerLightFade[] = {
    {"SMCPowerLightFadeConfigMidToStartRatio", 0, u16},
    {"SMCPowerLightFadeConfigMidToEndRatio", 2, u16},
    {"SMCPowerLightFadeConfigStartTicks", 4, u16},
    {"SMCPowerLightFadeConfigEndTicks", 6, u16},
};
constexpr Field powerLightFlare[] = {
    {"SMCPowerLightFlareConfigCeiling", 0, u16},
    {"SMCPowerLightFlareConfigMinChange", 2, u16},
    {"SMCPowerLightFlareConfigAdjust", 4, u16},
};
constexpr Field powerLightOverride[] = {
    {"SMCPowerLightOverrideTargetBehavior", 0, s8},
    {"SMCPowerLightOverrideRamp", 1, boolean},
};

template <const auto& fields>
std::optional<PropertyValue> structure(Bytes bytes) {
  Dictionary values;
  for (const Field& field : fields) {
    values.emplace(field.name, *field.read(bytes.subspan(field.offset)));
  }
  return values;
}

constexpr std::size_t anySize = static_cast<std::size_t>(-1);

struct Type {
  SMCCode code;
  std::size_t size;
  Reader read;
};

constexpr Type types[] = {
    {smcCode("byte"), 1, u8},
    {smcCode("ui8 "), 1, u8},
    {smcCode("ui8\0"), 1, u8},
    {smcCode("{lsm"), 1, u8},
    {smcCode("{lss"), 1, u8},
    {smcCode("{msp"), 1, u8},
    {smcCode("{mss"), 1, u8},
    {smcCode("ch8*"), anySize, textOrDump},
    {smcCode("char"), 1, character},
    {smcCode("flag"), 1, boolean},
    {smcCode("hex_"), anySize, dump},
    {smcCode("si16"), 2, s16},
    // By its name a signed byte, but its keys hold a character.
    {smcCode("si8 "), 1, nulTerminatedText},
    {smcCode("si8\0"), 1, nulTerminatedText},
    {smcCode("ui16"), 2, u16},
    {smcCode("ui6 "), 2, u16},
    {smcCode("ui6\0"), 2, u16},
    {smcCode("{pwm"), 2, u16},
    {smcCode("ui32"), 4, u32},
    {smcCode("{rev"), 6, revision},
    {smcCode("{ala"), 6, structure<ambientLightFunction>},
    {smcCode("{alc"), 16, structure<ambientLightConfiguration>},
    {smcCode("{ali"), 3, structure<ambientLightSensor>},
    {smcCode("{alr"), 10, structure<ambientLightTemperature>},
    {smcCode("{alt"), 4, structure<ambientLightThresholds>},
    {smcCode("{alv"), 12, structure<ambientLightValue>},
    {smcCode("{fds"), 16, structure<fanDescription>},
    {smcCode("{lsc"), 10, structure<powerLightControl>},
    {smcCode("{lsd"), 8, structure<powerLightFade>},
    {smcCode("{lsf"), 6, structure<powerLightFlare>},
    {smcCode("{lso"), 2, structure<powerLightOverride>},
};

std::optional<PropertyValue> fixedPointValue(SMCCode code, Bytes bytes) {
  const auto divisor = fixedPointDivisor(code);
  if (!divisor || bytes.size() != sizeof(std::uint16_t)) return std::nullopt;
  const auto value = isSignedFixedPointCode(code) ? s16(bytes) : u16(bytes);
  return value->number()->asDouble() / *divisor;
}

}  // namespace

std::optional<PropertyValue> decodedSMCValue(SMCCode code, Bytes bytes) {
  if (isFixedPointCode(code)) return fixedPointValue(code, bytes);
  const auto* type = std::find_if(std::begin(types), std::end(types),
                                  [code](const Type& row) { return row.code == code; });
  if (type == std::end(types)) return smcUnknownTypeMarker;
  if (type->size != anySize && type->size != bytes.size()) return std::nullopt;
  return type->read(bytes);
}

}  // namespace qrt
