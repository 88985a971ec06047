// Values of this system as Core Foundation's, and back. The one place that converts.
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
/// UTF-8, with three bytes for half of a surrogate pair: no file has such a name, and different
/// texts stay different.
std::string textFrom(CFStringRef string);

/// Null for what cannot be a path in this form: text that is not valid UTF-8 or has a zero byte.
CFOwner<CFStringRef> cfPath(const std::string& path);
/// A file's or folder's URL; null as above.
CFOwner<CFURLRef> cfFileURL(const std::string& path, bool isFolder);
/// The absolute path of a file URL; empty for any other.
std::string pathFrom(CFURLRef url);

CFOwner<CFDataRef> cfData(const Data& data);
Data dataFrom(CFDataRef data);

/// The date of a `CFDateRef`.
Date dateFrom(CFDateRef date);

/// Null when text somewhere in the value is not valid UTF-8.
CFOwner<CFTypeRef> cfValue(const PropertyValue& value);

/// None for an object that is no property list, an error aside, and for a list that is beyond what
/// a reader of property lists accepts; objects that are shared count wherever they are met.
std::optional<PropertyValue> valueFrom(CFTypeRef object);

/// Null when text in the error is not valid UTF-8.
CFOwner<CFErrorRef> cfError(const Error& error);
/// What cannot be converted in the user information is left out.
Error errorFrom(CFErrorRef error);

}  // namespace qrt
