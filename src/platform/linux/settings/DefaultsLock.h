// The lock that programs with user defaults take before they change them.
#pragma once

#include <sys/types.h>

#include <chrono>

#include "platform/FileDescriptor.h"

namespace qrt {

/// The lock is a folder in a folder: the process that makes it holds the lock. A lock that is too
/// old to be in use is removed, as all programs do that use these locks. The user could hold the
/// lock for ever, so waiting has an end.
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
