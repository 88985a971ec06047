// The System Management Controller: its keys, what they hold, and writing them.
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

/// Every question that is not answered by the cache reads the key anew. Keys are named by their
/// four characters; a key that is not among `availableKeys` has no value.
///
/// Thread-safe, except for `propertyCache`: whoever fills it keeps others out meanwhile.
class QRTSystemManagementController {
 public:
  /// Property entries by key, each with the entries of `smc_property`.
  using PropertyCache = std::unordered_map<std::string, Dictionary>;

  /// Lists the controller's keys. Null when there is no controller or it does not list them.
  /// Exchange and log outlive the object.
  static std::unique_ptr<QRTSystemManagementController> init(SMCExchange& exchange, Log& log);

  /// The code of a key's or a type's name; 0 unless it has four characters.
  static SMCCode smcKeyFromString(const std::string& string);
  static std::string stringFromSMCKey(SMCCode key);

  /// The value of properties of an unknown type.
  static std::string valueDecodingNotImplementedMarker();

  /// -1.0 for a type that is not a fixed-point type.
  static double divisorForFloatingPointCode(SMCCode code);

  /// Encodes a number for a key of fixed-point type, in host byte order; `value` may be null. False
  /// for other types.
  static bool getSMCShort(std::uint16_t* value, double forDouble, const std::string& usingTypeCode);

  const std::set<std::string>& availableKeys() const { return availableKeys_; }

  /// Looked into before a key is read, but filled by nobody here. A value in it is good for a
  /// second; type and readability are good for ever.
  PropertyCache& propertyCache() { return propertyCache_; }

  std::optional<PropertyValue> valueForPropertyWithKey(const std::string& key) const;
  std::optional<std::string> typeCodeOfPropertyWithKey(const std::string& key) const;
  bool isWriteOnlyPropertyWithKey(const std::string& key) const;

  /// The smallest difference of two values; -1.0 for a key that is not of a fixed-point type.
  double precisionDeltaOfNumericPropertyWithKey(const std::string& key) const;

  /// Fraction bits of unsigned fixed-point keys and 0 for all others, signed ones included; -1 for
  /// a key that does not exist.
  std::int64_t maximumFractionDigitsOfNumericPropertyWithKey(const std::string& key) const;

  /// Writes to any key, whether it is listed or not. `bytes` is in the controller's byte order and
  /// as long as the key's value; of `length` only the low eight bits count.
  /// `log` gets the line about a failure.
  bool writeRawBytes(const std::uint8_t* bytes, std::size_t length, const std::string& toSMCKey,
                     Log& log) const;

  /// "<?>" when it is not known.
  std::string softwareVersion() const;
  std::string softwareBranchAndBuildGeneration() const;

  /// Reads and decodes a key. The entry is not put into the cache.
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
