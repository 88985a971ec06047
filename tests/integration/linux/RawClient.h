// A client that sends exactly the bytes it is told to.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/linux/MessageFrame.h"
#include "platform/linux/WireReader.h"
#include "support/WirePair.h"

namespace qrt::test {

class RawClient {
 public:
  static constexpr const char* helperInterface = "com.vantor.QRTPrivilegedHelperProtocol";
  static constexpr const char* authorityInterface = "com.vantor.QRTAuthorizationAuthority";

  struct Reply {
    bool isError = false;
    bool bigEndian = false;
    std::string header;
    std::vector<std::uint8_t> body;

    WireReader arguments() const { return {body, bigEndian}; }
    /// Domain and code of an answered operation.
    std::pair<std::string, std::int64_t> outcome() const {
      auto reader = arguments();
      auto domain = reader.string();
      return {domain, reader.int64()};
    }
  };

  explicit RawClient(const std::string& path)
      : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    std::strncpy(name.sun_path, path.c_str(), sizeof name.sun_path - 1);
    if (connect(socket_.get(), reinterpret_cast<sockaddr*>(&name), sizeof name) < 0) {
      socket_.reset();
    }
  }
  explicit RawClient(FileDescriptor connected) : socket_(std::move(connected)) {}

  static std::string handshakeBytes() {
    return std::string("\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n", 48);
  }

  int socket() const { return socket_.get(); }

  bool send(const void* bytes, std::size_t size) {
    const auto* next = static_cast<const char*>(bytes);
    while (size > 0) {
      const auto count = ::send(socket_.get(), next, size, MSG_NOSIGNAL);
      if (count <= 0) return false;
      next += count;
      size -= static_cast<std::size_t>(count);
    }
    return true;
  }
  bool send(const std::string& text) { return send(text.data(), text.size()); }
  bool send(const std::vector<std::uint8_t>& bytes) { return send(bytes.data(), bytes.size()); }

  bool sendWithDescriptors(const std::vector<std::uint8_t>& bytes, const std::vector<int>& sent) {
    std::vector<char> control(CMSG_SPACE(sent.size() * sizeof(int)));
    iovec vector{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
    msghdr header{};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    auto* part = CMSG_FIRSTHDR(&header);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(sent.size() * sizeof(int));
    std::memcpy(CMSG_DATA(part), sent.data(), sent.size() * sizeof(int));
    return sendmsg(socket_.get(), &header, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
  }

  /// Consumes the answers to `handshakeBytes()`.
  bool receiveHandshake() {
    std::string line;
    for (int lines = 0; lines < 3;) {
      char byte;
      if (!receive(&byte, 1)) return false;
      lines += byte == '\n';
    }
    return true;
  }

  /// The next message; none when the connection ended or nothing came for ten seconds.
  std::optional<Reply> receiveReply() {
    std::uint8_t prefix[MessageFrame::prefixLength];
    if (!receive(prefix, sizeof prefix)) return std::nullopt;
    const auto frame = MessageFrame::parse(prefix);
    if (!frame) return std::nullopt;
    Reply reply;
    reply.isError = prefix[1] == 3;
    reply.bigEndian = frame->bigEndian;
    reply.header.resize(frame->headerLength - sizeof prefix);
    reply.body.resize(frame->bodyLength);
    if (!receive(reply.header.data(), reply.header.size())) return std::nullopt;
    if (!receive(reply.body.data(), reply.body.size())) return std::nullopt;
    return reply;
  }

  std::optional<Reply> call(const std::string& member, const std::string& signature = "",
                            const std::vector<std::uint8_t>& body = {},
                            const char* interface = helperInterface) {
    if (!send(methodCall(interface, member, signature, body, ++serial_))) return std::nullopt;
    return receiveReply();
  }

  /// True when the peer has ended the connection, within ten seconds.
  bool isClosedByPeer() {
    char byte;
    pollfd waiting{socket_.get(), POLLIN, 0};
    while (poll(&waiting, 1, 10'000) > 0) {
      if (recv(socket_.get(), &byte, 1, 0) <= 0) return true;
    }
    return false;
  }

  std::vector<std::uint8_t> externalForm() {
    const auto reply = call("createExternalForm", "", {}, authorityInterface);
    return reply && !reply->isError ? reply->arguments().data() : Data();
  }

 private:
  bool receive(void* bytes, std::size_t size) {
    auto* next = static_cast<char*>(bytes);
    while (size > 0) {
      pollfd waiting{socket_.get(), POLLIN, 0};
      if (poll(&waiting, 1, 10'000) <= 0) return false;
      const auto count = recv(socket_.get(), next, size, 0);
      if (count <= 0) return false;
      next += count;
      size -= static_cast<std::size_t>(count);
    }
    return true;
  }

  FileDescriptor socket_;
  std::uint32_t serial_ = 0;
};

/// The arguments of a request, marshalled.
template <class WriteArguments>
std::vector<std::uint8_t> requestBody(std::uint64_t code, const std::vector<std::uint8_t>& form,
                                      std::vector<std::uint32_t> endpoints, WriteArguments write) {
  WireBytes body;
  body.u64(code);
  body.array(1, [&](WireBytes& data) {
    for (const auto byte : form) data.byte(byte);
  });
  body.array(4, [&](WireBytes& indexes) {
    for (const auto index : endpoints) indexes.u32(index);
  });
  body.array(1, write);
  return body.bytes();
}

}  // namespace qrt::test
