// Owner of a Core Foundation object.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace qrt {

/// Releases its object in its destructor. Null means that it owns no object.
template <class T>
class CFOwner {
 public:
  CFOwner() = default;
  /// Takes over the result of a function with "Create" or "Copy" in its name.
  explicit CFOwner(T object) : object_(object) {}
  /// Becomes an additional owner of an object.
  static CFOwner sharing(T object) {
    if (object) CFRetain(object);
    return CFOwner(object);
  }
  CFOwner(CFOwner&& other) noexcept : object_(other.release()) {}
  CFOwner& operator=(CFOwner&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~CFOwner() { reset(); }

  explicit operator bool() const { return object_ != nullptr; }
  T get() const { return object_; }
  T release() { return std::exchange(object_, nullptr); }
  void reset(T object = nullptr) {
    if (object_) CFRelease(object_);
    object_ = object;
  }

  /// For a function that stores an object for its caller to release.
  T* receiver() {
    reset();
    return &object_;
  }

 private:
  T object_ = nullptr;
};

/// The object when it is of that type, else null. `typeID` is the type's own, as in
/// `CFStringGetTypeID()`.
template <class T>
T castObject(CFTypeRef object, CFTypeID typeID) {
  const bool isOfType = object && CFGetTypeID(object) == typeID;
  return isOfType ? static_cast<T>(const_cast<void*>(object)) : nullptr;
}

}  // namespace qrt
