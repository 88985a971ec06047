// The System Management Controller: its keys and their values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

#include "base/PropertyValue.h"
#include "hardware/SMCDriver.h"

namespace qrt {

/// Entries of a cached property.
namespace smc_property {
/// String: the type code as four characters.
inline constexpr const char* type = "Type";
/// Boolean: the controller refuses to read the key.
inline constexpr const char* isWriteOnly = "IsWriteOnly";
/// Number, string or dictionary.
inline constexpr const char* value = "Value";
/// Date: when the entry was made.
inline constexpr const char* lastAccess = "LastAccess";
}  // namespace smc_property

/// Each query reads its key from the controller unless the cache has the answer. Keys are named by
/// their four characters; a key that is not among `availableKeys` has no value.
///
/// Thread-safe while no caller fills `propertyCache`.
class QRTSystemManagementController {
 public:
  /// Property entries by key, each with the entries of `smc_property`.
  using PropertyCache = std::unordered_map<std::string, Dictionary>;

  /// Lists the controller's keys. Null if there is no controller or its keys cannot be listed.
  /// Exchange and log outlive the object.
  static std::unique_ptr<QRTSystemManagementController> init(SMCExchange& exchange, Log& log);

  /// The code of a key or type; 0 unless the text has four characters.
  static SMCCode smcKeyFromString(const std::string& string);
  static std::string stringFromSMCKey(SMCCode key);

  /// The value of properties of an unknown type.
  static std::string valueDecodingNotImplementedMarker();

  /// -1.0 for any other than a fixed-point type.
  static double divisorForFloatingPointCode(SMCCode code);

  /// Encodes a number for a key of fixed-point type, in host byte order; `value` may be null. False
  /// for other types.
  static bool getSMCShort(std::uint16_t* value, double forDouble, const std::string& usingTypeCode);

  const std::set<std::string>& availableKeys() const { return availableKeys_; }

  /// Consulted before a key is read. Only callers fill it. A value in it is valid for a second,
  /// type and readability for ever.
  PropertyCache& propertyCache() { return propertyCache_; }

  std::optional<PropertyValue> valueForPropertyWithKey(const std::string& key) const;
  std::optional<std::string> typeCodeOfPropertyWithKey(const std::string& key) const;
  bool isWriteOnlyPropertyWithKey(const std::string& key) const;

  /// The smallest difference between two values; -1.0 unless the key is of a fixed-point type.
  double precisionDeltaOfNumericPropertyWithKey(const std::string& key) const;

  /// The fraction bits of an unsigned fixed-point key; 0 for other keys, signed ones included; -1
  /// for a key that does not exist.
  std::int64_t maximumFractionDigitsOfNumericPropertyWithKey(const std::string& key) const;

  /// Writes to any key, listed or not. `bytes` is in the controller's byte order and as long as the
  /// key's value; of `length` only the low eight bits count. Logs a failure to `log`.
  bool writeRawBytes(const std::uint8_t* bytes, std::size_t length, const std::string& toSMCKey,
                     Log& log) const;

  /// "<?>" if unknown.
  std::string softwareVersion() const;
  std::string softwareBranchAndBuildGeneration() const;

  /// Reads and decodes a key. Does not put the entry into the cache.
  std::optional<Dictionary> updateCacheForPropertyWithKey(const std::string& key) const;

 private:
  QRTSystemManagementController(SMCExchange& exchange, Log& log);
  bool readAvailableKeys();
  std::optional<Dictionary> entryForProperty(const std::string& key, double maximumAge) const;

  Log& log_;
  SMCDriver driver_;
  std::set<std::string> availableKeys_;
  PropertyCache propertyCache_;
};

}  // namespace qrt
