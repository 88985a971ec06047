// Two ends of a wire, and D-Bus values as bytes.
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/FileDescriptor.h"

namespace qrt::test {

struct SocketPair {
  FileDescriptor first, second;
  SocketPair() {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0) {
      first.reset(pair[0]);
      second.reset(pair[1]);
    }
  }
};

/// Marshals little-endian D-Bus values the way a peer of any language would.
class WireBytes {
 public:
  WireBytes& align(std::size_t boundary) {
    while (bytes_.size() % boundary != 0) bytes_.push_back(0);
    return *this;
  }
  WireBytes& byte(unsigned value) {
    bytes_.push_back(static_cast<std::uint8_t>(value));
    return *this;
  }
  WireBytes& u32(std::uint32_t value) { return integer(value, 4); }
  WireBytes& u64(std::uint64_t value) { return integer(value, 8); }
  WireBytes& string(const std::string& text) {
    u32(static_cast<std::uint32_t>(text.size()));
    return raw(text).byte(0);
  }
  WireBytes& signature(const std::string& text) {
    return byte(static_cast<unsigned>(text.size())).raw(text).byte(0);
  }
  WireBytes& raw(const std::string& text) {
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    return *this;
  }
  /// An array whose elements, aligned to `boundary`, `write` appends.
  template <class Write>
  WireBytes& array(std::size_t boundary, Write write) {
    u32(0);
    const auto lengthAt = bytes_.size() - 4;
    align(boundary);
    const auto start = bytes_.size();
    write(*this);
    const auto length = static_cast<std::uint32_t>(bytes_.size() - start);
    std::memcpy(bytes_.data() + lengthAt, &length, sizeof length);
    return *this;
  }

  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  WireBytes& integer(std::uint64_t value, std::size_t size) {
    align(size);
    for (; size > 0; --size, value >>= 8) byte(value & 0xFF);
    return *this;
  }

  std::vector<std::uint8_t> bytes_;
};

}  // namespace qrt::test
