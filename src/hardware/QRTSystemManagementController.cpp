#include "hardware/QRTSystemManagementController.h"

#include <chrono>
#include <limits>
#include <vector>

#include "base/Utf8.h"
#include "hardware/SMCFixedPoint.h"
#include "hardware/SMCValueDecoding.h"
#include "platform/Log.h"

namespace qrt {
namespace {

constexpr const char* className = "QRTSystemManagementController";
constexpr const char* unknownText = "<?>";
constexpr const char* writeOnlyMarker = "<write-only property>";
constexpr double freshSeconds = 1.0;
constexpr double anyAge = std::numeric_limits<double>::infinity();

double secondsSince1970() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

bool isYoung(const Dictionary& entry, double maximumAge) {
  if (maximumAge == anyAge) return true;
  const auto made = entry.find(smc_property::lastAccess);
  const auto* date = made == entry.end() ? nullptr : made->second.date();
  return date && secondsSince1970() - date->secondsSince1970 <= maximumAge;
}

std::string mismatchText(const SMCValueBytes& value) {
  return "<received " + std::to_string(value.size) + " bytes for type '" +
         textOfSMCCode(value.type) + "': mismatch detected>";
}

std::uint32_t bigEndian32(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
         static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

}  // namespace

SMCCode QRTSystemManagementController::smcKeyFromString(const std::string& string) {
  return smcCodeFromText(string);
}

std::string QRTSystemManagementController::stringFromSMCKey(SMCCode key) {
  return textOfSMCCode(key);
}

std::string QRTSystemManagementController::valueDecodingNotImplementedMarker() {
  return smcUnknownTypeMarker;
}

double QRTSystemManagementController::divisorForFloatingPointCode(SMCCode code) {
  return fixedPointDivisor(code).value_or(-1.0);
}

bool QRTSystemManagementController::getSMCShort(std::uint16_t* value, double forDouble,
                                                const std::string& usingTypeCode) {
  const auto divisor = fixedPointDivisor(smcCodeFromText(usingTypeCode));
  if (!divisor) return false;
  if (value) *value = encodedFixedPoint(forDouble, *divisor);
  return true;
}

std::unique_ptr<QRTSystemManagementController> QRTSystemManagementController::init(
    SMCExchange& exchange, Log& log) {
  std::unique_ptr<QRTSystemManagementController> controller(
      new QRTSystemManagementController(exchange, log));
  return controller->readAvailableKeys() ? std::move(controller) : nullptr;
}

QRTSystemManagementController::QRTSystemManagementController(SMCExchange& exchange, Log& log)
    : log_(log), driver_(exchange) {}

bool QRTSystemManagementController::readAvailableKeys() {
  SMCValueBytes count(4);
  const auto read = driver_.readSMCKey(smcCode("#KEY"), count);
  if (read != KernelReturn::noError || count.type != smcCode("ui32")) {
    log_.standard("%{public}@: could not determine available keys on this platform\n", className);
    return false;
  }
  const auto keyCount = bigEndian32(count.bytes);
  for (std::uint32_t index = 0; index < keyCount; ++index) {
    const auto key = driver_.keyAtIndex(index);
    if (!key) {
      log_.standard("%{public}@: could not get key at index %u\n", className, index);
      return false;
    }
    availableKeys_.insert(textOfSMCCode(*key));
  }
  propertyCache_.reserve(keyCount);
  return true;
}

std::optional<Dictionary> QRTSystemManagementController::updateCacheForPropertyWithKey(
    const std::string& key) const {
  if (!availableKeys_.contains(key)) return std::nullopt;
  SMCValueBytes received(std::numeric_limits<std::uint8_t>::max());
  const auto read = driver_.readSMCKey(smcCodeFromText(key), received);
  const bool isWriteOnly = read == KernelReturn::internalError;
  if (read != KernelReturn::noError && !isWriteOnly) {
    log_.standard("%{public}@: failed to get value for key '%{public}@' (error %d)\n", className,
                  key, signedNumber(read));
    return std::nullopt;
  }
  // A key that cannot be read keeps the requested size, which no type of fixed size has.
  auto value = decodedSMCValue(received.type, received.received());
  if (!value) value = isWriteOnly ? std::string(writeOnlyMarker) : mismatchText(received);
  return Dictionary{{smc_property::type, textOfSMCCode(received.type)},
                    {smc_property::isWriteOnly, isWriteOnly},
                    {smc_property::value, *std::move(value)},
                    {smc_property::lastAccess, Date{secondsSince1970()}}};
}

std::optional<Dictionary> QRTSystemManagementController::entryForProperty(const std::string& key,
                                                                          double maximumAge) const {
  if (!availableKeys_.contains(key)) return std::nullopt;
  const auto cached = propertyCache_.find(key);
  if (cached != propertyCache_.end() && isYoung(cached->second, maximumAge)) return cached->second;
  return updateCacheForPropertyWithKey(key);
}

std::optional<PropertyValue> QRTSystemManagementController::valueForPropertyWithKey(
    const std::string& key) const {
  const auto entry = entryForProperty(key, freshSeconds);
  if (!entry) return std::nullopt;
  const auto value = entry->find(smc_property::value);
  return value == entry->end() ? std::nullopt : std::optional(value->second);
}

std::optional<std::string> QRTSystemManagementController::typeCodeOfPropertyWithKey(
    const std::string& key) const {
  const auto entry = entryForProperty(key, anyAge);
  const auto* type = entry ? stringIn(*entry, smc_property::type) : nullptr;
  return type ? std::optional(*type) : std::nullopt;
}

bool QRTSystemManagementController::isWriteOnlyPropertyWithKey(const std::string& key) const {
  const auto entry = entryForProperty(key, anyAge);
  if (!entry) return false;
  const auto refused = entry->find(smc_property::isWriteOnly);
  const auto* number = refused == entry->end() ? nullptr : refused->second.number();
  return number && number->asBool();
}

double QRTSystemManagementController::precisionDeltaOfNumericPropertyWithKey(
    const std::string& key) const {
  const auto type = typeCodeOfPropertyWithKey(key);
  const auto divisor = type ? fixedPointDivisor(smcCodeFromText(*type)) : std::nullopt;
  return divisor ? 1.0 / *divisor : -1.0;
}

std::int64_t QRTSystemManagementController::maximumFractionDigitsOfNumericPropertyWithKey(
    const std::string& key) const {
  const auto type = typeCodeOfPropertyWithKey(key);
  if (!type) return -1;
  const auto code = smcCodeFromText(*type);
  // No type begins with "sf", so signed numbers count as having no fraction.
  const bool hasFraction =
      code >> 16 == smcCode("fp..") >> 16 || code >> 16 == smcCode("sf..") >> 16;
  // The low bits of the character, not of the digit: "f" is 6.
  return hasFraction ? code & 0xF : 0;
}

bool QRTSystemManagementController::writeRawBytes(const std::uint8_t* bytes, std::size_t length,
                                                  const std::string& toSMCKey, Log& log) const {
  if (!bytes || length == 0 || utf16Length(toSMCKey) != 4) return false;
  const auto counted = static_cast<std::uint8_t>(length);
  return driver_.writeSMCKey(smcCodeFromText(toSMCKey), {bytes, counted}, log) ==
         KernelReturn::noError;
}

std::string QRTSystemManagementController::softwareVersion() const {
  const auto version = valueForPropertyWithKey("REV ");
  const auto* text = version ? version->string() : nullptr;
  return text ? *text : unknownText;
}

std::string QRTSystemManagementController::softwareBranchAndBuildGeneration() const {
  const auto branch = valueForPropertyWithKey("RBr ");
  const auto generation = valueForPropertyWithKey("RSvn");
  const auto* text = branch ? branch->string() : nullptr;
  const auto* number = generation ? generation->number() : nullptr;
  if (!text || !number) return unknownText;
  return *text + " (" + std::to_string(static_cast<std::uint32_t>(number->asUInt64())) + ")";
}

}  // namespace qrt
