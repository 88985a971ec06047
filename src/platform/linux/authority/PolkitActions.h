// The rights as polkit's actions.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

/// Each right is one file in the folder of the system's action files, where polkit notices changes.
/// Written even without polkit, which may be installed later. Thread-safe.
class PolkitActions {
 public:
  explicit PolkitActions(std::string root) : root_(std::move(root)) {}

  /// Whether the right has a file of its own.
  bool contains(const std::string& right) const;

  /// The file with which a package has brought all rights; empty when there is none. It belongs to
  /// the package manager.
  std::string packagedFile() const;
  /// The definition of a right in that file.
  std::optional<PropertyValue> packagedDefinition(const std::string& right) const;

  /// Replaces the action file in one step. polkit grants a right that is defined as "allow" to all
  /// users. Any other asks for an administrator's password each time: the daemon could not make
  /// polkit forget a grant.
  PosixCode set(const std::string& right, const PropertyValue& definition,
                const std::string& description) const;
  /// Of a right that it contains.
  PosixCode remove(const std::string& right) const;

 private:
  PosixResult<FileDescriptor> folder() const;

  std::string root_;
};

}  // namespace qrt
