// Two ends of a wire, and D-Bus messages as bytes.
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
  WireBytes& u32(std::uint32_t value) {
    align(4);
    for (int i = 0; i < 4; ++i) byte(value >> (8 * i) & 0xFF);
    return *this;
  }
  WireBytes& u64(std::uint64_t value) {
    align(8);
    for (int i = 0; i < 8; ++i) byte(static_cast<unsigned>(value >> (8 * i) & 0xFF));
    return *this;
  }
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
  std::vector<std::uint8_t> bytes_;
};

/// A method call to the helper with that body. `bodySize` announces a body that is sent later.
inline std::vector<std::uint8_t> methodCallWithDescriptors(
    const std::string& interface, const std::string& member, const std::string& signature,
    const std::vector<std::uint8_t>& body, std::uint32_t descriptors, std::size_t bodySize = 0,
    std::uint32_t serial = 1000) {
  WireBytes message;
  message.byte('l').byte(1).byte(0).byte(1);
  message.u32(static_cast<std::uint32_t>(bodySize ? bodySize : body.size())).u32(serial);
  message.array(8, [&](WireBytes& fields) {
    const auto field = [&](unsigned code, const char* type, auto write) {
      fields.align(8).byte(code).signature(type);
      write();
    };
    field(1, "o", [&] { fields.string("/com/vantor/QRTPrivilegedHelper"); });
    field(2, "s", [&] { fields.string(interface); });
    field(3, "s", [&] { fields.string(member); });
    if (!signature.empty()) field(8, "g", [&] { fields.signature(signature); });
    if (descriptors > 0) field(9, "u", [&] { fields.u32(descriptors); });
  });
  message.align(8);
  auto bytes = message.bytes();
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

inline std::vector<std::uint8_t> methodCall(const std::string& interface, const std::string& member,
                                            const std::string& signature,
                                            const std::vector<std::uint8_t>& body,
                                            std::uint32_t serial = 1) {
  return methodCallWithDescriptors(interface, member, signature, body, 0, 0, serial);
}

}  // namespace qrt::test
