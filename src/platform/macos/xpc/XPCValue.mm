#include "platform/macos/xpc/XPCValue.h"

#include "platform/macos/CFValue.h"
#include "protocol/WireText.h"

namespace qrt {
namespace {

using TextChange = std::string (*)(std::string_view);

/// A copy in which `change` was made to every text, names of dictionary entries among them.
PropertyValue changed(const PropertyValue& value, TextChange change);

Dictionary changed(const Dictionary& dictionary, TextChange change) {
  Dictionary copy;
  for (const auto& [name, value] : dictionary) copy.emplace(change(name), changed(value, change));
  return copy;
}

Error changed(const Error& error, TextChange change) {
  return {change(error.domain), error.code, changed(error.userInfo, change)};
}

PropertyValue changed(const PropertyValue& value, TextChange change) {
  if (const auto* text = value.string()) return change(*text);
  if (const auto* dictionary = value.dictionary()) return changed(*dictionary, change);
  if (const auto* error = value.error()) return changed(*error, change);
  const auto* array = value.array();
  if (!array) return value;
  Array copy;
  for (const auto& element : *array) copy.push_back(changed(element, change));
  return copy;
}

/// Ownership goes to the compiler's reference counting.
template <class T>
id released(CFOwner<T> object) {
  return CFBridgingRelease(object.release());
}

std::optional<PropertyValue> valueOf(id object) {
  const auto value = valueFrom((__bridge CFTypeRef)object);
  if (!value) return std::nullopt;
  return changed(*value, decodeWireText);
}

}  // namespace

NSDictionary* xpcDictionary(const Dictionary& dictionary) {
  return released(cfValue(changed(dictionary, encodeWireText)));
}

NSArray* xpcArray(const Array& array) { return released(cfValue(changed(array, encodeWireText))); }

NSError* xpcError(const Outcome& outcome) {
  if (!outcome) return nil;
  // Nil would be success.
  NSError* const error = released(cfError(changed(*outcome, encodeWireText)));
  return error ? error : [NSError errorWithDomain:NSPOSIXErrorDomain code:ENOMEM userInfo:nil];
}

std::optional<Array> arrayFrom(NSArray* array) {
  const auto value = valueOf(array);
  if (!value || !value->array()) return std::nullopt;
  return *value->array();
}

std::optional<Dictionary> dictionaryFrom(NSDictionary* dictionary) {
  const auto value = valueOf(dictionary);
  if (!value || !value->dictionary()) return std::nullopt;
  return *value->dictionary();
}

Outcome outcomeFrom(NSError* error) {
  if (!error) return success;
  if (![error isKindOfClass:NSError.class]) return posixError(PosixCode::invalidArgument);
  return changed(errorFrom((__bridge CFErrorRef)error), decodeWireText);
}

}  // namespace qrt
