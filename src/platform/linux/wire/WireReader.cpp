#include "platform/linux/wire/WireReader.h"

#include <algorithm>
#include <bit>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "protocol/WireText.h"

namespace qrt {

/// One level of nesting, for as long as it lives.
class WireReader::Level {
 public:
  explicit Level(WireReader& reader) : reader_(reader) {
    if (++reader_.depth_ > maximumDepth) reader_.fail();
  }
  ~Level() { --reader_.depth_; }
  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;

 private:
  WireReader& reader_;
};

std::span<const std::uint8_t> WireReader::bytes(std::size_t count) {
  if (!ok_ || count > body_.size() - position_) {
    fail();
    return {};
  }
  const auto taken = body_.subspan(position_, count);
  position_ += count;
  return taken;
}

void WireReader::align(std::size_t boundary) {
  if (position_ % boundary == 0) return;
  const auto padding = bytes((boundary - position_ % boundary) % boundary);
  if (std::any_of(padding.begin(), padding.end(), [](auto byte) { return byte != 0; })) fail();
}

std::uint64_t WireReader::fixed(std::size_t width) {
  align(width);
  const auto raw = bytes(width);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    const std::size_t significance = bigEndian_ ? raw.size() - 1 - i : i;
    value |= std::uint64_t{raw[i]} << (8 * significance);
  }
  return value;
}

double WireReader::real() { return std::bit_cast<double>(fixed(8)); }

std::string_view WireReader::text(std::size_t lengthWidth) {
  const auto length = fixed(lengthWidth);
  const auto raw = bytes(length);
  const auto end = bytes(1);
  if (!ok_ || end[0] != 0) {
    fail();
    return {};
  }
  return asText(raw);
}

std::string_view WireReader::encodedString() {
  const auto received = text(4);
  if (holdsZeroByte(received) || !isValidUtf8(received)) {
    fail();
    return {};
  }
  return received;
}

std::string WireReader::string() {
  const auto received = encodedString();
  return stores_ ? decodeWireText(received) : std::string();
}

std::size_t WireReader::enterArray(std::size_t boundary) {
  const std::size_t length = uint32();
  align(boundary);
  if (!ok_ || length > body_.size() - position_) {
    fail();
    return position_;
  }
  return position_ + length;
}

Data WireReader::data() {
  const auto end = enterArray(1);
  const auto raw = bytes(end - position_);
  if (!stores_) return {};
  return {raw.begin(), raw.end()};
}

std::vector<std::uint32_t> WireReader::descriptorIndexes(std::size_t descriptors) {
  std::vector<std::uint32_t> indexes;
  const auto end = enterArray(4);
  while (ok_ && position_ < end) {
    indexes.push_back(uint32());
    if (indexes.size() > descriptors) fail();
  }
  if (position_ > end) fail();
  return indexes;
}

template <class Take>
void WireReader::forEachElement(Take take) {
  const Level level(*this);
  const auto end = enterArray(1);
  while (ok_ && position_ < end) take(variant());
  if (position_ > end) fail();
}

Array WireReader::array() {
  Array elements;
  forEachElement([&](PropertyValue element) {
    if (stores_) elements.push_back(std::move(element));
  });
  return elements;
}

std::size_t WireReader::checkArray() {
  std::size_t count = 0;
  stores_ = false;
  forEachElement([&](const PropertyValue&) { ++count; });
  stores_ = true;
  return count;
}

void WireReader::check(std::string_view signature) {
  stores_ = false;
  value(signature);
  stores_ = true;
}

Dictionary WireReader::dictionary() {
  const Level level(*this);
  Dictionary entries;
  const auto end = enterArray(8);
  while (ok_ && position_ < end) {
    align(8);
    auto key = string();
    auto element = variant();
    if (stores_) entries.insert_or_assign(entries.end(), std::move(key), std::move(element));
  }
  if (position_ > end) fail();
  return entries;
}

Error WireReader::error() {
  const Level level(*this);
  align(8);
  Error error;
  error.domain = string();
  error.code = int64();
  error.userInfo = dictionary();
  return error;
}

void WireReader::skipBasic(std::string_view signature) {
  static constexpr std::pair<std::string_view, std::size_t> widths[] = {
      {"y", 1}, {"n", 2}, {"q", 2}, {"b", 4}, {"i", 4},
      {"u", 4}, {"h", 4}, {"x", 8}, {"t", 8}, {"d", 8}};
  if (signature == "s" || signature == "o") {
    text(4);
  } else if (signature == "g") {
    text(1);
  } else {
    const auto* const type = std::find_if(std::begin(widths), std::end(widths),
                                          [&](auto& entry) { return entry.first == signature; });
    if (type == std::end(widths)) return fail();
    fixed(type->second);
  }
}

PropertyValue WireReader::variant() {
  const auto type = signature();
  if (++values_ > maximumValues) fail();
  return value(type);
}

PropertyValue WireReader::value(std::string_view signature) {
  if (!ok_) return 0;
  if (signature.size() == 1) return basicValue(signature.front());
  if (signature == "ay") return data();
  if (signature == "(d)") {
    align(8);
    return Date{real()};
  }
  if (signature == "av") return array();
  if (signature == "a{sv}") return dictionary();
  if (signature == "(sxa{sv})") return error();
  fail();
  return 0;
}

PropertyValue WireReader::basicValue(char type) {
  switch (type) {
    case 's':
      return string();
    case 'b': {
      const auto flag = uint32();
      if (flag > 1) fail();
      return flag == 1;
    }
    case 'y':
      return byte();
    case 'n':
      return static_cast<std::int16_t>(fixed(2));
    case 'q':
      return static_cast<std::uint16_t>(fixed(2));
    case 'i':
      return int32();
    case 'u':
      return uint32();
    case 'x':
      return int64();
    case 't':
      return uint64();
    case 'd':
      return real();
    default:
      fail();
      return 0;
  }
}

}  // namespace qrt
