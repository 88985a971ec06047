#include "base/PropertyValue.h"

#include <array>

namespace qrt {

PropertyValue::PropertyValue(Error error)
    : storage_(std::make_shared<const Error>(std::move(error))) {}

const Error* PropertyValue::error() const {
  const auto* held = std::get_if<std::shared_ptr<const Error>>(&storage_);
  return held ? held->get() : nullptr;
}

const char* PropertyValue::className() const {
  static constexpr std::array names{"NSString", "NSNumber",     "NSData", "NSDate",
                                    "NSArray",  "NSDictionary", "NSError"};
  return names[storage_.index()];
}

bool operator==(const PropertyValue& a, const PropertyValue& b) {
  const Error* left = a.error();
  const Error* right = b.error();
  if (left && right) return *left == *right;
  return a.storage_ == b.storage_;
}

const std::string* stringIn(const Dictionary& dictionary, std::string_view key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : found->second.string();
}

}  // namespace qrt
