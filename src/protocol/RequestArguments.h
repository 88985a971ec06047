// The arguments of a request before its operation runs.
#pragma once

#include <cstddef>
#include <optional>

#include "base/PropertyValue.h"

namespace qrt {

/// The texts of a request for the dialog about its right.
struct RequestMetadata {
  /// The number of entries in the request.
  std::size_t entryCount = 0;
  /// The entries that a dialog may need.
  Dictionary entries;
};

/// Decoded, arguments can take ten times the memory of their message. So a port may keep the
/// message, checked but not decoded, until the operation is authorized.
class RequestArguments {
 public:
  /// The number of arguments that are metadata, if there is any: its marker and its dictionary.
  static constexpr std::size_t metadataCount = 2;

  virtual ~RequestArguments() = default;

  /// Includes the metadata.
  virtual std::size_t count() const = 0;

  /// False if the values exceed the limits of a property list or are of another kind. Then only
  /// their number is known.
  virtual bool areReadable() const { return true; }

  /// Nothing unless the first two arguments are the marker and a dictionary.
  virtual std::optional<RequestMetadata> metadata() const = 0;

  /// All values, with the metadata. Called at most once.
  virtual Array decode() = 0;
};

/// Arguments that the system has decoded. Without values they are not readable.
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
