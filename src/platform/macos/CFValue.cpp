#include "platform/macos/CFValue.h"

#include <cstdint>
#include <type_traits>
#include <variant>
#include <vector>

#include "platform/posix/propertylists/PropertyListTally.h"
#include "platform/posix/propertylists/Utf16.h"

namespace qrt {
namespace {

CFIndex indexOf(std::size_t size) { return static_cast<CFIndex>(size); }

template <class T>
CFOwner<CFTypeRef> asValue(CFOwner<T> object) {
  return CFOwner<CFTypeRef>(object.release());
}

/// Core Foundation makes no number of this type; its reader of property lists does.
CFOwner<CFTypeRef> unsignedNumber(std::uint64_t value) {
  const auto text = "<plist><integer>" + std::to_string(value) + "</integer></plist>";
  const CFOwner<CFDataRef> bytes(
      CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(text.data()), indexOf(text.size())));
  return CFOwner<CFTypeRef>(CFPropertyListCreateWithData(
      nullptr, bytes.get(), kCFPropertyListImmutable, nullptr, nullptr));
}

CFOwner<CFTypeRef> cfNumber(const Number& number) {
  struct Maker {
    CFOwner<CFTypeRef> operator()(bool value) const {
      return CFOwner<CFTypeRef>::sharing(value ? kCFBooleanTrue : kCFBooleanFalse);
    }
    CFOwner<CFTypeRef> operator()(std::int64_t value) const {
      return CFOwner<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value));
    }
    CFOwner<CFTypeRef> operator()(std::uint64_t value) const {
      const auto asSigned = static_cast<std::int64_t>(value);
      return asSigned >= 0 ? (*this)(asSigned) : unsignedNumber(value);
    }
    CFOwner<CFTypeRef> operator()(double value) const {
      return CFOwner<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
    }
  };
  return std::visit(Maker{}, number.storage());
}

CFOwner<CFTypeRef> cfArray(const Array& array) {
  CFOwner<CFMutableArrayRef> items(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
  for (const auto& item : array) {
    const auto object = cfValue(item);
    if (!object) return {};
    CFArrayAppendValue(items.get(), object.get());
  }
  return asValue(std::move(items));
}

CFOwner<CFDictionaryRef> cfDictionary(const Dictionary& dictionary) {
  const CFOwner<CFMutableDictionaryRef> entries(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  for (const auto& [key, value] : dictionary) {
    const auto name = cfString(key);
    const auto object = cfValue(value);
    if (!name || !object) return {};
    CFDictionarySetValue(entries.get(), name.get(), object.get());
  }
  return CFOwner<CFDictionaryRef>::sharing(entries.get());
}

bool isEqual(CFNumberRef number, const Number& candidate) {
  const auto object = cfNumber(candidate);
  const auto* same = castObject<CFNumberRef>(object.get(), CFNumberGetTypeID());
  return same && CFNumberCompare(number, same, nullptr) == kCFCompareEqualTo;
}

/// Signed where 64 bits allow it, else unsigned, else floating-point.
Number numberFrom(CFNumberRef number) {
  if (!CFNumberIsFloatType(number)) {
    // Of a larger number the call returns the low 64 bits, as a success.
    std::int64_t low = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &low);
    for (const Number candidate : {Number(low), Number(static_cast<std::uint64_t>(low))}) {
      if (isEqual(number, candidate)) return candidate;
    }
  }
  double value = 0;
  CFNumberGetValue(number, kCFNumberDoubleType, &value);
  return value;
}

/// Reads one object and holds it to the limits.
class ValueReader {
 public:
  std::optional<PropertyValue> read(CFTypeRef object) {
    if (!object) return std::nullopt;
    const auto type = CFGetTypeID(object);
    if (type == CFArrayGetTypeID()) return array(static_cast<CFArrayRef>(object));
    if (type == CFDictionaryGetTypeID()) return dictionary(static_cast<CFDictionaryRef>(object));
    if (type == CFErrorGetTypeID()) return error(castObject<CFErrorRef>(object, type));
    if (type == CFStringGetTypeID()) return text(static_cast<CFStringRef>(object));
    if (type == CFDataGetTypeID()) return data(static_cast<CFDataRef>(object));
    if (tally_.add(0)) return std::nullopt;
    if (type == CFNumberGetTypeID()) return numberFrom(static_cast<CFNumberRef>(object));
    if (type == CFBooleanGetTypeID()) {
      return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
    }
    if (type == CFDateGetTypeID()) return dateFrom(static_cast<CFDateRef>(object));
    return std::nullopt;
  }

  std::optional<Error> readError(CFErrorRef error) {
    if (tally_.begin()) return std::nullopt;
    const CFOwner<CFDictionaryRef> userInfo(CFErrorCopyUserInfo(error));
    Error copy{textFrom(CFErrorGetDomain(error)), CFErrorGetCode(error), {}};
    for (const auto& [key, object] : entriesOf(userInfo.get())) {
      const auto* name = castObject<CFStringRef>(key, CFStringGetTypeID());
      auto value = read(object);
      if (name && value) copy.userInfo.insert_or_assign(textFrom(name), std::move(*value));
    }
    tally_.end();
    return copy;
  }

 private:
  using Entries = std::vector<std::pair<CFTypeRef, CFTypeRef>>;

  static Entries entriesOf(CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(dictionary ? CFDictionaryGetCount(dictionary) : 0);
    std::vector<CFTypeRef> keys(count);
    std::vector<CFTypeRef> values(count);
    if (count > 0) CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    Entries entries(count);
    for (std::size_t i = 0; i < count; ++i) entries[i] = {keys[i], values[i]};
    return entries;
  }

  std::optional<PropertyValue> array(CFArrayRef source) {
    if (tally_.begin()) return std::nullopt;
    Array items;
    const auto count = CFArrayGetCount(source);
    for (CFIndex i = 0; i < count; ++i) {
      auto item = read(CFArrayGetValueAtIndex(source, i));
      if (!item) return std::nullopt;
      items.push_back(std::move(*item));
    }
    tally_.end();
    return items;
  }

  std::optional<PropertyValue> dictionary(CFDictionaryRef source) {
    if (tally_.begin()) return std::nullopt;
    Dictionary entries;
    for (const auto& [key, object] : entriesOf(source)) {
      const auto* name = castObject<CFStringRef>(key, CFStringGetTypeID());
      if (!name || tally_.add(0)) return std::nullopt;
      auto value = read(object);
      if (!value) return std::nullopt;
      entries.insert_or_assign(textFrom(name), std::move(*value));
    }
    tally_.end();
    return entries;
  }

  std::optional<PropertyValue> error(CFErrorRef source) {
    auto copy = readError(source);
    if (!copy) return std::nullopt;
    return std::move(*copy);
  }

  std::optional<PropertyValue> text(CFStringRef source) {
    if (tally_.add(static_cast<std::size_t>(CFStringGetLength(source)))) return std::nullopt;
    return textFrom(source);
  }

  std::optional<PropertyValue> data(CFDataRef source) {
    if (tally_.add(static_cast<std::size_t>(CFDataGetLength(source)))) return std::nullopt;
    return dataFrom(source);
  }

  PropertyListTally tally_;
};

}  // namespace

CFOwner<CFStringRef> cfString(std::string_view text) {
  return CFOwner<CFStringRef>(
      CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                              indexOf(text.size()), kCFStringEncodingUTF8, false));
}

std::string textFrom(CFStringRef string) {
  if (!string) return {};
  std::vector<UniChar> units(static_cast<std::size_t>(CFStringGetLength(string)));
  CFStringGetCharacters(string, CFRangeMake(0, indexOf(units.size())), units.data());
  std::string text;
  text.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t character = units[i];
    const bool isPair =
        isHighSurrogate(character) && i + 1 < units.size() && isLowSurrogate(units[i + 1]);
    if (isPair) character = characterFromSurrogates(character, units[++i]);
    appendUtf8(text, character);
  }
  return text;
}

CFOwner<CFStringRef> cfPath(const std::string& path) {
  return path.find('\0') == std::string::npos ? cfString(path) : CFOwner<CFStringRef>();
}

CFOwner<CFURLRef> cfFileURL(const std::string& path, bool isFolder) {
  const auto text = cfPath(path);
  if (!text) return {};
  return CFOwner<CFURLRef>(
      CFURLCreateWithFileSystemPath(nullptr, text.get(), kCFURLPOSIXPathStyle, isFolder));
}

std::string pathFrom(CFURLRef url) {
  const CFOwner<CFURLRef> absolute(CFURLCopyAbsoluteURL(url));
  if (!absolute) return {};
  const CFOwner<CFStringRef> scheme(CFURLCopyScheme(absolute.get()));
  if (textFrom(scheme.get()) != "file") return {};
  const CFOwner<CFStringRef> path(CFURLCopyFileSystemPath(absolute.get(), kCFURLPOSIXPathStyle));
  return textFrom(path.get());
}

CFOwner<CFDataRef> cfData(const Data& data) {
  return CFOwner<CFDataRef>(CFDataCreate(nullptr, data.data(), indexOf(data.size())));
}

Data dataFrom(CFDataRef data) {
  const auto* begin = CFDataGetBytePtr(data);
  return Data(begin, begin + CFDataGetLength(data));
}

Date dateFrom(CFDateRef date) {
  return {CFDateGetAbsoluteTime(date) + kCFAbsoluteTimeIntervalSince1970};
}

CFOwner<CFTypeRef> cfValue(const PropertyValue& value) {
  if (const auto* text = value.string()) return asValue(cfString(*text));
  if (const auto* number = value.number()) return cfNumber(*number);
  if (const auto* data = value.data()) return asValue(cfData(*data));
  if (const auto* array = value.array()) return cfArray(*array);
  if (const auto* dictionary = value.dictionary()) return asValue(cfDictionary(*dictionary));
  if (const auto* error = value.error()) return asValue(cfError(*error));
  const auto sinceReference = value.date()->secondsSince1970 - kCFAbsoluteTimeIntervalSince1970;
  return CFOwner<CFTypeRef>(CFDateCreate(nullptr, sinceReference));
}

std::optional<PropertyValue> valueFrom(CFTypeRef object) { return ValueReader().read(object); }

CFOwner<CFErrorRef> cfError(const Error& error) {
  const auto domain = cfString(error.domain);
  const auto userInfo = cfDictionary(error.userInfo);
  if (!domain || !userInfo) return {};
  return CFOwner<CFErrorRef>(CFErrorCreate(nullptr, domain.get(), error.code, userInfo.get()));
}

Error errorFrom(CFErrorRef error) {
  auto copy = ValueReader().readError(error);
  return copy ? std::move(*copy) : Error{};
}

}  // namespace qrt
