// Property lists on every port: the form is found out, then the form's own reader reads.
#pragma once

#include "platform/PropertyLists.h"

namespace qrt {

/// XML begins with an XML declaration, a document type, a comment or an element of the form, blanks
/// aside; binary with its magic number; everything else is old-style text, which is UTF-8, or
/// UTF-16 with a byte order mark. Nothing but blanks is an error in every form.
///
/// A port's own readers are not to be had for this: the limits must hold while a list is read, and
/// those of older systems follow any nesting until the stack ends.
class BoundedPropertyLists final : public PropertyLists {
 public:
  Result<PropertyValue> parse(std::span<const std::uint8_t> bytes) override;
  Result<std::string> xml(const PropertyValue& value) override;
};

}  // namespace qrt
