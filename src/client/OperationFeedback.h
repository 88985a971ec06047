// The feedback of a running operation, typed.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"

namespace qrt {

/// An object that a search has found.
struct FoundObject {
  std::string path;
  /// The platform's name of the type, for example "NSFileTypeRegular".
  std::string type;
  /// In bytes.
  std::uint64_t size = 0;
  Date modificationDate;
  /// The twelve permission bits.
  std::uint32_t mode = 0;
};

/// One message. A member that it does not have is empty.
struct OperationFeedback {
  /// From 0 to 1.
  std::optional<double> fraction;
  std::vector<FoundObject> objects;
  /// What a utility wrote to its two streams, cut at any byte.
  Data output;
  Data errorOutput;
  /// Whether this is the last message.
  bool isFinal = false;
};

/// Receives each message, on the thread that called the operation.
using OnFeedback = std::function<void(const OperationFeedback& feedback)>;

/// For the library itself: a message as it was received, typed.
OperationFeedback operationFeedback(const Dictionary& message);

}  // namespace qrt
