// Property lists as bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// The largest list that is read or written, as a file; the total of its texts and data has the
/// same limit.
inline constexpr std::size_t maximumPropertyListBytes = 16 << 20;
/// How deep arrays and dictionaries may be nested.
inline constexpr std::size_t maximumPropertyListDepth = 512;
/// Keys count as objects.
inline constexpr std::size_t maximumPropertyListObjects = 1'000'000;

/// Reads a property list in any form. It is XML when it begins with an XML declaration, a document
/// type, a comment or an element of that form, leading blanks aside, and binary when it begins with
/// "bplist00". Everything else is old-style text, a string table included: in UTF-8, or in UTF-16
/// with a byte order mark. Empty or malformed input and a list beyond the limits fail with Cocoa
/// error 3840 and a description. Thread-safe.
///
/// Both ports have these readers: the readers of older systems nest until the stack overflows, and
/// check sizes only after they have used the memory.
Result<PropertyValue> readPropertyList(std::span<const std::uint8_t> bytes);

/// Writes a list in XML form. `readPropertyList` reads all that this writes, but fractions of a
/// second are dropped. It fails with Cocoa error 3851 and a description when the value holds an
/// error object, a date outside of the years 0 to 9999, invalid UTF-8 or a character that XML
/// cannot hold, or when the list is beyond the limits. Thread-safe.
Result<std::string> writeXmlPropertyList(const PropertyValue& value);

}  // namespace qrt
