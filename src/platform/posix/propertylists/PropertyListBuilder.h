// Puts a property list together from what a reader meets, within the limits.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/posix/propertylists/PropertyListProblem.h"
#include "platform/posix/propertylists/PropertyListTally.h"

namespace qrt {

/// The collections that are still open lie in a vector, so that nesting costs no stack. After a
/// problem the builder is of no further use.
class PropertyListBuilder {
 public:
  [[nodiscard]] PropertyListCheck beginArray() { return begin(Array()); }
  [[nodiscard]] PropertyListCheck beginDictionary() { return begin(Dictionary()); }
  /// Names the next value of the innermost collection, which must be a dictionary. A key that is
  /// there already gets the new value.
  [[nodiscard]] PropertyListCheck key(std::string name);
  /// `value` is not a collection.
  [[nodiscard]] PropertyListCheck add(PropertyValue value);
  /// Closes the innermost collection; there must be one.
  [[nodiscard]] PropertyListCheck end();

  /// Call once, with every collection closed.
  Result<PropertyValue, PropertyListProblem> finish();

 private:
  using Content = std::variant<Array, Dictionary>;

  struct Collection {
    Content content;
    std::optional<std::string> key;
  };

  PropertyListCheck begin(Content content);
  PropertyListCheck checkPlace() const;
  void place(PropertyValue value);

  std::vector<Collection> open_;
  std::optional<PropertyValue> root_;
  PropertyListTally tally_;
};

}  // namespace qrt
