// The conversions between values and Core Foundation objects.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "platform/macos/CFOwner.h"

namespace qrt {

/// Null when the text is not valid UTF-8.
CFOwner<CFStringRef> cfString(std::string_view text);
/// In UTF-8. A surrogate without its partner becomes three bytes, so that different texts stay
/// different; no file has such a name.
std::string textFrom(CFStringRef string);

/// Null for a path that is not valid UTF-8 or has a zero byte.
CFOwner<CFStringRef> cfPath(const std::string& path);
/// A file's or folder's URL; null as above.
CFOwner<CFURLRef> cfFileURL(const std::string& path, bool isFolder);
/// The absolute path of a file URL; empty for any other.
std::string pathFrom(CFURLRef url);

CFOwner<CFDataRef> cfData(const Data& data);
Data dataFrom(CFDataRef data);

/// The date of a `CFDateRef`.
Date dateFrom(CFDateRef date);

/// Null when a text in the value is not valid UTF-8.
CFOwner<CFTypeRef> cfValue(const PropertyValue& value);

/// The value of a property list or an error object. No value for other objects and for a list
/// beyond the limits of property lists; an object with several references counts once for each.
std::optional<PropertyValue> valueFrom(CFTypeRef object);

/// Null when a text in the error is not valid UTF-8.
CFOwner<CFErrorRef> cfError(const Error& error);
/// Leaves out the parts of the user information that cannot be converted.
Error errorFrom(CFErrorRef error);

}  // namespace qrt
