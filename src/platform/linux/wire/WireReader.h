// Reads marshalled D-Bus arguments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/PropertyValue.h"

namespace qrt {

/// Takes arguments one after the other from the body of a message. libsystemd has a reader of its
/// own, but that refuses strings with the characters U+10FFFE and U+10FFFF, which stand for bytes
/// of file names here, and has no bound on the number of values.
///
/// Reading ends at the first value that is malformed or over a limit: from then on `ok()` is false
/// and all values are empty. Never reads outside the body.
class WireReader {
 public:
  static constexpr int maximumDepth = 32;
  static constexpr std::size_t maximumValues = 1'000'000;

  WireReader(std::span<const std::uint8_t> body, bool bigEndian, std::size_t position = 0)
      : body_(body), bigEndian_(bigEndian), position_(position) {}

  bool ok() const { return ok_; }
  /// True when nothing is left and nothing was wrong.
  bool atEnd() const { return ok_ && position_ == body_.size(); }

  std::uint8_t byte() { return static_cast<std::uint8_t>(fixed(1)); }
  std::int32_t int32() { return static_cast<std::int32_t>(fixed(4)); }
  std::uint32_t uint32() { return static_cast<std::uint32_t>(fixed(4)); }
  std::int64_t int64() { return static_cast<std::int64_t>(fixed(8)); }
  std::uint64_t uint64() { return fixed(8); }
  double real();
  /// A string, with the bytes of file names restored.
  std::string string();
  /// A string as it was sent.
  std::string_view encodedString();
  Data data();
  /// "av" and "a{sv}".
  Array array();
  Dictionary dictionary();
  /// "ah": places in the message's list of descriptors; fails when there are more of them than the
  /// message has descriptors.
  std::vector<std::uint32_t> descriptorIndexes(std::size_t descriptors);
  /// "(sxa{sv})".
  Error error();
  /// The type of the variant that follows.
  std::string_view signature() { return text(1); }

  /// Passes over an "av" that `array` would take, storing nothing, and returns the number of its
  /// values.
  std::size_t checkArray();
  /// Passes over a value of that type, which a variant may have, storing nothing.
  void check(std::string_view signature);
  /// Enters an array; its elements are aligned to `boundary`. Returns the position of its end.
  std::size_t enterArray(std::size_t boundary);

  /// Passes over a value that is not made of others. No header field has another kind of value.
  void skipBasic(std::string_view signature);
  /// Passes over padding.
  void align(std::size_t boundary);
  std::size_t position() const { return position_; }

 private:
  class Level;

  void fail() { ok_ = false; }
  std::uint64_t fixed(std::size_t width);
  std::span<const std::uint8_t> bytes(std::size_t count);
  /// The text after a length of the given width, without its end mark.
  std::string_view text(std::size_t lengthWidth);
  template <class Take>
  void forEachElement(Take take);
  PropertyValue variant();
  PropertyValue value(std::string_view signature);
  PropertyValue basicValue(char type);

  std::span<const std::uint8_t> body_;
  bool bigEndian_;
  std::size_t position_;
  int depth_ = 0;
  std::size_t values_ = 0;
  bool ok_ = true;
  /// False while values are only checked.
  bool stores_ = true;
};

}  // namespace qrt
