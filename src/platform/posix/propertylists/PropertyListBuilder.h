// Builds a property list from the elements that a reader finds, and enforces the limits.
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

/// Open collections are in a vector, so nesting uses no stack. After a problem the builder must not
/// be used any more.
class PropertyListBuilder {
 public:
  [[nodiscard]] PropertyListCheck beginArray() { return begin(Array()); }
  [[nodiscard]] PropertyListCheck beginDictionary() { return begin(Dictionary()); }
  /// Sets the key of the next value in the innermost collection, which must be a dictionary. The
  /// last value of a repeated key is kept.
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
