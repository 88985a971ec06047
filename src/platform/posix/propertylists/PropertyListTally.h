// Enforces the limits of a property list while it is read or written.
#pragma once

#include <cstddef>

#include "platform/posix/propertylists/PropertyListProblem.h"

namespace qrt {

/// Keys count as objects. After a problem the tally must not be used any more.
class PropertyListTally {
 public:
  /// A key or a value that is not a collection; `bytes` of text or data.
  [[nodiscard]] PropertyListCheck add(std::size_t bytes);
  [[nodiscard]] PropertyListCheck begin();
  void end() { --depth_; }

  /// How many collections are open.
  std::size_t depth() const { return depth_; }

 private:
  std::size_t objects_ = 0;
  std::size_t bytes_ = 0;
  std::size_t depth_ = 0;
};

}  // namespace qrt
