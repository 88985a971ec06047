#include "platform/posix/propertylists/BinaryPropertyListReader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "platform/posix/propertylists/PropertyListBuilder.h"
#include "platform/posix/propertylists/PropertyListProblem.h"
#include "platform/posix/propertylists/PropertyListTally.h"
#include "platform/posix/propertylists/Utf16.h"

namespace qrt {
namespace {

using Problem = PropertyListProblem;
using Bytes = std::span<const std::uint8_t>;
template <class T>
using Read = Result<T, Problem>;

// The trailer at the end of the file: 6 bytes that are not used here, the widths of an offset and
// of a reference, then three 8-byte numbers.
constexpr std::size_t trailerSize = 32;
constexpr std::size_t offsetWidthAt = 6;
constexpr std::size_t referenceWidthAt = 7;
constexpr std::size_t objectCountAt = 8;
constexpr std::size_t rootAt = 16;
constexpr std::size_t offsetTableAt = 24;

constexpr double secondsFrom1970To2001 = 978307200;

std::uint64_t bigEndian(Bytes bytes) {
  std::uint64_t value = 0;
  for (const auto byte : bytes) value = value << 8 | byte;
  return value;
}

/// The kind of an object is the high half of its first byte.
enum class Kind : std::uint8_t {
  constant = 0x0,
  integer = 0x1,
  real = 0x2,
  date = 0x3,
  data = 0x4,
  asciiString = 0x5,
  utf16String = 0x6,
  uid = 0x8,
  array = 0xA,
  set = 0xC,
  dictionary = 0xD
};

struct Object {
  Kind kind;
  /// The low half: most often a count or the logarithm of a width.
  std::uint8_t detail;
  /// Where the rest of the object begins.
  std::size_t content;
};

constexpr std::uint8_t countFollows = 0xF;

Problem beyondEnd() { return {"an object reaches beyond the end"}; }

Read<PropertyValue> constantFrom(std::uint8_t detail) {
  if (detail == 0x8) return PropertyValue(false);
  if (detail == 0x9) return PropertyValue(true);
  return Problem{"a null object"};
}

Read<PropertyValue> integerFrom(Bytes bytes) {
  const std::uint64_t value = bigEndian(bytes.last(std::min<std::size_t>(bytes.size(), 8)));
  if (bytes.size() <= 8) return PropertyValue(static_cast<std::int64_t>(value));
  if (bigEndian(bytes.first(8)) != 0) return Problem{"an integer of more than 64 bits"};
  return PropertyValue(value);
}

template <class Real, class Bits>
Real sameBits(Bits bits) {
  static_assert(sizeof(Real) == sizeof(Bits));
  Real real;
  std::memcpy(&real, &bits, sizeof real);
  return real;
}

Read<PropertyValue> realFrom(Bytes bytes) {
  if (bytes.size() == 4) {
    return PropertyValue(sameBits<float>(static_cast<std::uint32_t>(bigEndian(bytes))));
  }
  if (bytes.size() == 8) return PropertyValue(sameBits<double>(bigEndian(bytes)));
  return Problem{"a real number of an unknown width"};
}

Read<PropertyValue> dateFrom(Bytes bytes) {
  if (bytes.size() != 8) return Problem{"a date of an unknown width"};
  const auto seconds = sameBits<double>(bigEndian(bytes));
  if (!std::isfinite(seconds)) return Problem{"a date that is no number"};
  return PropertyValue(Date{seconds + secondsFrom1970To2001});
}

Read<std::string> asciiFrom(Bytes bytes) {
  const bool ascii = std::all_of(bytes.begin(), bytes.end(), [](auto byte) { return byte < 0x80; });
  if (!ascii) return Problem{"an ASCII string that is not ASCII"};
  return std::string(bytes.begin(), bytes.end());
}

Read<std::string> utf16From(Bytes bytes) {
  if (auto text = utf8FromUtf16(bytes, std::endian::big)) return *std::move(text);
  return Problem{"a string that is not valid UTF-16"};
}

class BinaryReader {
 public:
  explicit BinaryReader(Bytes bytes) : bytes_(bytes) {}

  Result<PropertyValue> read() {
    auto problem = readTrailer();
    if (!problem) problem = walk(Measuring{*this, {}});
    if (!problem) problem = walk(Building{*this, builder_});
    if (problem) return unreadablePropertyList(*problem, "object " + std::to_string(current_));
    return *builder_.finish();
  }

 private:
  /// An array or dictionary whose items are being read.
  struct Collection {
    Bytes keys;  ///< References; empty in an array.
    Bytes values;
    std::size_t next = 0;  ///< Offset of the next item's references.
  };

  PropertyListCheck readTrailer() {
    if (bytes_.size() < binaryPropertyListMagic.size() + trailerSize) return beyondEnd();
    const Bytes trailer = bytes_.last(trailerSize);
    offsetWidth_ = trailer[offsetWidthAt];
    referenceWidth_ = trailer[referenceWidthAt];
    objectCount_ = bigEndian(trailer.subspan(objectCountAt, 8));
    root_ = bigEndian(trailer.subspan(rootAt, 8));
    const std::uint64_t offsetTable = bigEndian(trailer.subspan(offsetTableAt, 8));

    const auto isWidth = [](std::size_t width) { return width >= 1 && width <= 8; };
    if (!isWidth(offsetWidth_) || !isWidth(referenceWidth_)) return Problem{"an unknown width"};
    const std::size_t tableEnd = bytes_.size() - trailerSize;
    if (offsetTable < binaryPropertyListMagic.size() || offsetTable > tableEnd) return beyondEnd();
    objects_ = bytes_.first(offsetTable);
    offsets_ = bytes_.subspan(offsetTable, tableEnd - offsetTable);
    if (objectCount_ > offsets_.size() / offsetWidth_) return beyondEnd();
    return {};
  }

  /// The first walk adds up what the list would take, and stores nothing: a hundred bytes can
  /// describe a million objects.
  struct Measuring {
    const BinaryReader& reader;
    PropertyListTally tally;

    PropertyListCheck begin(const Object&) { return tally.begin(); }
    PropertyListCheck key(const Object& object) { return add(object); }
    PropertyListCheck add(const Object& object) {
      const auto size = reader.contentSize(object);
      if (!size) return size.error();
      return tally.add(*size);
    }
    PropertyListCheck end() {
      tally.end();
      return {};
    }
  };

  /// The second walk builds the list.
  struct Building {
    const BinaryReader& reader;
    PropertyListBuilder& builder;

    PropertyListCheck begin(const Object& object) {
      return object.kind == Kind::dictionary ? builder.beginDictionary() : builder.beginArray();
    }
    PropertyListCheck key(const Object& object) {
      auto name = reader.string(object);
      if (!name) return name.error();
      return builder.key(std::move(*name));
    }
    PropertyListCheck add(const Object& object) {
      auto value = reader.scalar(object);
      if (!value) return value.error();
      return builder.add(std::move(*value));
    }
    PropertyListCheck end() { return builder.end(); }
  };

  /// An object that holds itself ends at the depth limit.
  template <class Visitor>
  PropertyListCheck walk(Visitor visitor) {
    open_.clear();
    if (auto problem = visit(root_, visitor)) return problem;
    while (!open_.empty()) {
      if (auto problem = visitNext(visitor)) return problem;
    }
    return {};
  }

  template <class Visitor>
  PropertyListCheck visitNext(Visitor& visitor) {
    auto& collection = open_.back();
    if (collection.next == collection.values.size()) {
      open_.pop_back();
      return visitor.end();
    }
    const std::size_t at = collection.next;
    collection.next += referenceWidth_;
    const auto value = bigEndian(collection.values.subspan(at, referenceWidth_));
    if (!collection.keys.empty()) {
      const auto key = objectAt(bigEndian(collection.keys.subspan(at, referenceWidth_)));
      if (!key) return key.error();
      if (auto problem = visitor.key(*key)) return problem;
    }
    return visit(value, visitor);
  }

  template <class Visitor>
  PropertyListCheck visit(std::uint64_t index, Visitor& visitor) {
    const auto object = objectAt(index);
    if (!object) return object.error();
    const bool dictionary = object->kind == Kind::dictionary;
    if (!dictionary && object->kind != Kind::array && object->kind != Kind::set) {
      return visitor.add(*object);
    }
    const auto references = counted(*object, dictionary ? 2 * referenceWidth_ : referenceWidth_);
    if (!references) return references.error();
    const std::size_t keys = dictionary ? references->size() / 2 : 0;
    open_.push_back({references->first(keys), references->subspan(keys)});
    return visitor.begin(*object);
  }

  Read<PropertyValue> scalar(const Object& object) const {
    switch (object.kind) {
      case Kind::constant:
        return constantFrom(object.detail);
      case Kind::integer:
        return fixed(object, integerFrom);
      case Kind::real:
        return fixed(object, realFrom);
      case Kind::date:
        return fixed(object, dateFrom);
      case Kind::data:
        return data(object);
      case Kind::uid:
        return Problem{"a UID object, which only archives of objects have"};
      default:
        break;
    }
    auto text = string(object);
    if (!text) return text.error();
    return PropertyValue(std::move(*text));
  }

  /// How long text or data is, at the least: characters may take more than a byte.
  Read<std::size_t> contentSize(const Object& object) const {
    const bool wide = object.kind == Kind::utf16String;
    if (!wide && object.kind != Kind::asciiString && object.kind != Kind::data) {
      return std::size_t{0};
    }
    const auto bytes = counted(object, wide ? 2 : 1);
    if (!bytes) return bytes.error();
    return wide ? bytes->size() / 2 : bytes->size();
  }

  /// A value whose width is a power of two.
  Read<PropertyValue> fixed(const Object& object, Read<PropertyValue> (*from)(Bytes)) const {
    const auto bytes = fixedBytes(object);
    if (!bytes) return bytes.error();
    return from(*bytes);
  }

  Read<PropertyValue> data(const Object& object) const {
    const auto bytes = counted(object, 1);
    if (!bytes) return bytes.error();
    return PropertyValue(Data(bytes->begin(), bytes->end()));
  }

  Read<std::string> string(const Object& object) const {
    const bool ascii = object.kind == Kind::asciiString;
    if (!ascii && object.kind != Kind::utf16String) return Problem{"an object of a wrong kind"};
    const auto bytes = counted(object, ascii ? 1 : 2);
    if (!bytes) return bytes.error();
    return ascii ? asciiFrom(*bytes) : utf16From(*bytes);
  }

  Read<Bytes> fixedBytes(const Object& object) const {
    constexpr std::uint8_t widest = 4;
    if (object.detail > widest) return Problem{"a number of an unknown width"};
    return slice(object.content, 1, std::size_t{1} << object.detail);
  }

  /// The content of an object that begins with its number of units; `width` is a unit's bytes.
  Read<Bytes> counted(const Object& object, std::size_t width) const {
    if (object.detail != countFollows) return slice(object.content, object.detail, width);
    const auto number = objectStartingAt(object.content);
    if (!number) return number.error();
    if (number->kind != Kind::integer) return Problem{"a count that is no integer"};
    const auto count = fixedBytes(*number);
    if (!count) return count.error();
    if (count->size() > 8) return beyondEnd();
    return slice(number->content + count->size(), bigEndian(*count), width);
  }

  Read<Bytes> slice(std::size_t begin, std::uint64_t count, std::size_t width) const {
    if (count > (objects_.size() - begin) / width) return beyondEnd();
    return objects_.subspan(begin, count * width);
  }

  Read<Object> objectAt(std::uint64_t index) {
    current_ = index;
    if (index >= objectCount_) return Problem{"a reference to an object that does not exist"};
    return objectStartingAt(bigEndian(offsets_.subspan(index * offsetWidth_, offsetWidth_)));
  }

  Read<Object> objectStartingAt(std::uint64_t offset) const {
    if (offset < binaryPropertyListMagic.size() || offset >= objects_.size()) return beyondEnd();
    const std::uint8_t marker = objects_[offset];
    return Object{static_cast<Kind>(marker >> 4), static_cast<std::uint8_t>(marker & 0xF),
                  offset + 1};
  }

  Bytes bytes_;
  Bytes objects_;  ///< The bytes before the offset table.
  Bytes offsets_;
  std::uint64_t objectCount_ = 0;
  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::uint64_t root_ = 0;
  std::uint64_t current_ = 0;  ///< The object that is being read.
  std::vector<Collection> open_;
  PropertyListBuilder builder_;
};

}  // namespace

Result<PropertyValue> readBinaryPropertyList(std::span<const std::uint8_t> bytes) {
  return BinaryReader(bytes).read();
}

}  // namespace qrt
