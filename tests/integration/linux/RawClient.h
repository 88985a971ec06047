// A client that sends exactly the bytes that it is given.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/linux/wire/MessageFrame.h"
#include "platform/linux/wire/WireReader.h"
#include "support/WirePair.h"

namespace qrt::test {

/// The peer has half a minute to accept, to read and for each reply.
class RawClient {
 public:
  struct Reply {
    bool isError;
    bool bigEndian;
    Data body;

    /// Domain and code of an answered operation.
    std::pair<std::string, std::int64_t> outcome() const {
      WireReader reader(body, bigEndian);
      auto domain = reader.string();
      return {domain, reader.int64()};
    }
  };

  explicit RawClient(FileDescriptor connected) : socket_(std::move(connected)) {
    const timeval patience{30, 0};
    for (const int wait : {SO_RCVTIMEO, SO_SNDTIMEO})
      setsockopt(socket_.get(), SOL_SOCKET, wait, &patience, sizeof patience);
  }
  explicit RawClient(const std::string& path)
      : RawClient(FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))) {
    sockaddr_un name{AF_UNIX, {}};
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    connect(socket_.get(), reinterpret_cast<sockaddr*>(&name), sizeof name);
  }

  int socket() const { return socket_.get(); }

  static Data handshakeBytes() {
    const auto* const lines = "AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n";
    return WireBytes().byte(0).raw(lines).bytes();
  }

  bool send(const Data& bytes, const std::vector<int>& descriptors = {}) {
    const auto size = descriptors.size() * sizeof(int);
    Data control(size == 0 ? 0 : CMSG_SPACE(size));
    iovec vector{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
    msghdr message{nullptr, 0, &vector, 1, control.data(), control.size(), 0};
    if (auto* part = CMSG_FIRSTHDR(&message)) {
      part->cmsg_level = SOL_SOCKET;
      part->cmsg_type = SCM_RIGHTS;
      part->cmsg_len = CMSG_LEN(size);
      std::memcpy(CMSG_DATA(part), descriptors.data(), size);
    }
    return sendmsg(socket_.get(), &message, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
  }

  /// Consumes the answers to `handshakeBytes()`.
  bool receiveHandshake() {
    for (int lines = 0; lines < 3;) {
      char byte;
      if (!receive(&byte, 1)) return false;
      lines += byte == '\n';
    }
    return true;
  }

  std::optional<Reply> receiveReply() {
    std::uint8_t prefix[MessageFrame::prefixLength];
    if (!receive(prefix, sizeof prefix)) return std::nullopt;
    const auto frame = MessageFrame::parse(prefix);
    if (!frame) return std::nullopt;
    Data header(frame->headerLength - sizeof prefix), body(frame->bodyLength);
    if (!receive(header.data(), header.size()) || !receive(body.data(), body.size())) {
      return std::nullopt;
    }
    return Reply{prefix[1] == 3, frame->bigEndian, body};
  }

  std::optional<Reply> call(const std::string& member, const std::string& signature = "",
                            const Data& body = {}, const std::vector<int>& descriptors = {}) {
    send(methodCall(member, signature, body, descriptors.size()), descriptors);
    return receiveReply();
  }

  bool isClosedByPeer() {
    char byte;
    ssize_t count = 1;
    while (count > 0) count = recv(socket_.get(), &byte, 1, 0);
    return count == 0 || errno != EAGAIN;
  }

  /// A method call to the helper, or to the object and interface of another name.
  static Data methodCall(const std::string& member, const std::string& signature = "",
                         const Data& body = {}, std::size_t descriptors = 0,
                         const std::string& object = "QRTPrivilegedHelper") {
    WireBytes message;
    message.byte('l').byte(1).byte(0).byte(1);
    message.u32(static_cast<std::uint32_t>(body.size())).u32(1);
    message.array(8, [&](WireBytes& fields) {
      const auto field = [&](unsigned code, const char* type) -> WireBytes& {
        return fields.align(8).byte(code).signature(type);
      };
      field(1, "o").string("/com/vantor/" + object);
      field(2, "s").string("com.vantor." + object + "Protocol");
      field(3, "s").string(member);
      if (!signature.empty()) field(8, "g").signature(signature);
      if (descriptors > 0) field(9, "u").u32(static_cast<std::uint32_t>(descriptors));
    });
    auto bytes = message.align(8).bytes();
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
  }

  /// The arguments of a request that announces that many endpoints for feedback.
  template <class Write>
  static Data request(std::uint64_t code, const Data& form, std::uint32_t endpoints, Write write) {
    WireBytes body;
    body.u64(code);
    body.array(1, [&](WireBytes& bytes) {
      for (const auto byte : form) bytes.byte(byte);
    });
    body.array(4, [&](WireBytes& indexes) {
      for (std::uint32_t i = 0; i < endpoints; ++i) indexes.u32(i);
    });
    return body.array(1, write).bytes();
  }

 private:
  bool receive(void* bytes, std::size_t size) {
    return size == 0 || recv(socket_.get(), bytes, size, MSG_WAITALL) == static_cast<ssize_t>(size);
  }

  FileDescriptor socket_;
};

}  // namespace qrt::test
