#include "operations/PropertyListArgument.h"

#include "operations/PrivilegedOperationError.h"
#include "platform/PropertyLists.h"

namespace qrt {

Result<std::optional<PropertyValue>> valueFromText(PropertyLists& propertyLists,
                                                   const std::string& text) {
  if (text.empty()) return std::optional<PropertyValue>();
  auto value =
      propertyLists.parse({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  if (!value) return withUnderlyingError(posixError(PosixCode::invalidArgument), value.error());
  return std::optional<PropertyValue>(std::move(*value));
}

}  // namespace qrt
