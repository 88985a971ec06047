// The rights as polkit's actions.
#pragma once

#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

/// One action file a right, in the folder of the system's action files; polkit sees a change by
/// itself. Written whether polkit is there or not: it may be installed later. Thread-safe.
class PolkitActions {
 public:
  /// The folder lies below `root`.
  explicit PolkitActions(std::string root) : root_(std::move(root)) {}

  bool contains(const std::string& right) const;
  /// Replaces the action file in one step. Everybody is granted a right defined as "allow"; any
  /// other asks for an administrator's password, every time: polkit remembers no grant, because it
  /// would not take it back when the daemon wants it to.
  PosixCode set(const std::string& right, const PropertyValue& definition,
                const std::string& description) const;
  PosixCode remove(const std::string& right) const;

 private:
  PosixResult<FileDescriptor> folder() const;

  std::string root_;
};

}  // namespace qrt
