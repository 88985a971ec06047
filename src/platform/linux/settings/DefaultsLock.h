// The lock that programs with user defaults take before they change them.
#pragma once

#include <sys/types.h>

#include <chrono>

#include "platform/FileDescriptor.h"

namespace qrt {

/// A folder in a folder: whoever makes it has the lock. One that is too old to be in use is broken,
/// as all programs do that take part. Whose lock it is can hold it up, so waiting has an end.
class DefaultsLock {
 public:
  static constexpr std::chrono::seconds patience{5};
  static constexpr std::chrono::seconds maximumAge{20};

  /// `defaultsFolder` is open, belongs to `owner` and stays open.
  DefaultsLock(int defaultsFolder, uid_t owner);
  DefaultsLock(const DefaultsLock&) = delete;
  DefaultsLock& operator=(const DefaultsLock&) = delete;
  ~DefaultsLock();

  bool isHeld() const { return isHeld_; }

 private:
  bool take() const;
  bool isAbandoned() const;

  FileDescriptor lockFolder_;
  bool isHeld_;
};

}  // namespace qrt
