// The arguments of a request on their way to its operation.
#pragma once

#include <cstddef>
#include <optional>

#include "base/PropertyValue.h"

namespace qrt {

/// What a request says about the dialog that asks for its right.
struct RequestMetadata {
  /// How many entries were sent.
  std::size_t entryCount = 0;
  /// Those that a dialog may need.
  Dictionary entries;
};

/// As values the arguments can take ten times the memory that they arrived in. So a port may keep
/// them as they arrived, checked but not decoded, until the operation is authorized.
class RequestArguments {
 public:
  /// How many arguments are metadata where there is metadata: its marker and its dictionary.
  static constexpr std::size_t metadataCount = 2;

  virtual ~RequestArguments() = default;

  /// With the metadata.
  virtual std::size_t count() const = 0;

  /// False when the values are over the limits of a property list, or of another kind. Then only
  /// their number is known.
  virtual bool areReadable() const { return true; }

  /// None when the first two arguments are not the marker and a dictionary.
  virtual std::optional<RequestMetadata> metadata() const = 0;

  /// All values, the metadata among them. Called once at most.
  virtual Array decode() = 0;
};

/// Arguments that arrived as values. Without values they are not readable.
class DecodedArguments : public RequestArguments {
 public:
  explicit DecodedArguments(Array values) : count_(values.size()), values_(std::move(values)) {}
  DecodedArguments(std::optional<Array> values, std::size_t count)
      : count_(count), values_(std::move(values)) {}

  std::size_t count() const override { return count_; }
  bool areReadable() const override { return values_.has_value(); }
  std::optional<RequestMetadata> metadata() const override;
  Array decode() override { return std::move(values_).value(); }

 private:
  std::size_t count_;
  std::optional<Array> values_;
};

}  // namespace qrt
