// The rights database of a system that has no authority of its own.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "base/PropertyValue.h"
#include "platform/PropertyLists.h"
#include "platform/linux/files/StateFolder.h"

namespace qrt {

/// A property list in the state folder: right name to {"definition", "description", "table"}.
/// Thread-safe; changes by another process are seen.
class RightsFile {
 public:
  explicit RightsFile(StateFolder& state) : state_(state) {}

  /// The definition of a right. Empty when there is no such right.
  std::optional<PropertyValue> definition(const std::string& name);
  bool set(const std::string& name, const PropertyValue& definition, const std::string& description,
           const std::string& table);
  bool remove(const std::string& name);

 private:
  /// The whole database. Empty when it cannot be read; a missing file is a database without rights.
  std::optional<Dictionary> load();
  const Dictionary& current();
  bool store(const Dictionary& rights);

  StateFolder& state_;
  std::mutex mutex_;
  std::uint64_t cachedVersion_ = 0;
  Dictionary cached_;
};

}  // namespace qrt
