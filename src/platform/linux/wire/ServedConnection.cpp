#include "platform/linux/wire/ServedConnection.h"

#include <poll.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>

#include "platform/linux/wire/LinuxFeedbackConnection.h"
#include "platform/linux/wire/LinuxListenerEndpoint.h"
#include "platform/linux/wire/WireWriter.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

int malformed(sd_bus_message* call) {
  return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "%s",
                                    "The arguments are malformed or exceed a limit.");
}

/// Sends a reply that `append` fills. A reply that cannot be built becomes an error reply.
template <class Append>
int reply(sd_bus_message* call, Append append) {
  if (sd_bus_message_get_expect_reply(call) == 0) return 1;
  sd_bus_message* made = nullptr;
  int result = sd_bus_message_new_method_return(call, &made);
  const BusMessage answer(made);
  if (result >= 0) result = append(made);
  return result >= 0 ? sd_bus_send(nullptr, made, nullptr) : result;
}

}  // namespace

/// The entries of the method tables; `context` is the connection.
struct ServedConnection::Methods {
  static ServedConnection& self(void* context) { return *static_cast<ServedConnection*>(context); }

  static int connectWithEndpoint(sd_bus_message* call, void* context, sd_bus_error*) {
    const auto endpoint = self(context).object_.connectWithEndpoint(self(context).peer_.caller);
    const auto* connected = dynamic_cast<const LinuxListenerEndpoint*>(endpoint.get());
    if (!connected) {
      return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_LIMITS_EXCEEDED, "%s",
                                        "No further connection can be opened.");
    }
    return sd_bus_reply_method_return(call, "h", connected->socket.get());
  }

  static int getVersionString(sd_bus_message* call, void* context, sd_bus_error*) {
    const auto version = self(context).object_.getVersionString();
    return sd_bus_reply_method_return(call, "s", version.c_str());
  }

  /// The one argument of a registration and of its end. Empty when it is malformed.
  static std::optional<std::int32_t> clientIdentifier(void* context) {
    auto arguments = self(context).wire_->arguments();
    const auto identifier = arguments.int32();
    if (!arguments.atEnd()) return std::nullopt;
    return identifier;
  }

  static int registerClientWithPID(sd_bus_message* call, void* context, sd_bus_error*) {
    const auto identifier = clientIdentifier(context);
    if (!identifier) return malformed(call);
    if (!self(context).object_.registerClientWithPID(self(context).peer_.caller, *identifier)) {
      return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_LIMITS_EXCEEDED, "%s",
                                        "No further client can be registered for this user.");
    }
    return sd_bus_reply_method_return(call, nullptr);
  }

  static int unregisterClientWithPID(sd_bus_message* call, void* context, sd_bus_error*) {
    const auto identifier = clientIdentifier(context);
    if (!identifier) return malformed(call);
    self(context).object_.unregisterClientWithPID(self(context).peer_.caller, *identifier);
    return sd_bus_reply_method_return(call, nullptr);
  }

  static int performPrivilegedOperation(sd_bus_message* call, void* context, sd_bus_error*) {
    auto& wire = *self(context).wire_;
    auto reader = wire.arguments();
    const auto code = reader.uint64();
    const auto authorizationData = reader.data();
    const auto endpointIndexes = reader.descriptorIndexes(wire.descriptors().size());
    const auto position = reader.position();
    const auto count = reader.checkArray();
    if (!reader.atEnd()) return malformed(call);

    std::vector<FileDescriptor> sockets;
    for (const auto index : endpointIndexes) {
      if (index >= wire.descriptors().size()) return malformed(call);
      sockets.push_back(std::move(wire.descriptors()[index]));
    }
    EncodedArguments arguments(wire.takeMessage(), position, count);
    LinuxFeedbackEndpoint endpoint(std::move(sockets), wire.socket());
    const auto outcome = self(context).object_.performPrivilegedOperation(
        self(context).peer_.caller, code, authorizationData,
        endpointIndexes.empty() ? nullptr : &endpoint, &arguments);
    // Replying to a closed peer would end the connection and lose the calls that it sent after this
    // one.
    if (wire.hasPeerLeft()) return 1;
    return reply(call,
                 [&](sd_bus_message* answer) { return wire::appendOutcome(answer, outcome); });
  }

  static int createExternalForm(sd_bus_message* call, void* context, sd_bus_error*) {
    const auto& peer = self(context).peer_;
    const auto process = processOf(peer.caller);
    const auto form = process ? peer.authority->externalForm(*process) : std::nullopt;
    if (!form) {
      return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "%s",
                                        "The calling process cannot be identified.");
    }
    return reply(call, [&](sd_bus_message* answer) {
      return sd_bus_message_append_array(answer, 'y', form->data(), form->size());
    });
  }
};

ServedConnection::ServedConnection(std::unique_ptr<WireConnection> wire, const Peer& peer,
                                   QRTPrivilegedHelperProtocol& object)
    : wire_(std::move(wire)), peer_(peer), object_(object) {
  peer_.caller.connection = wire_->socket();
  wire_->takeLargeMessages(*peer_.largeMessages, peer_.caller.userID);
  exportObjects();
}

void ServedConnection::exportObjects() {
  // Every peer may call: each request is authorized by itself.
  constexpr auto open = SD_BUS_VTABLE_UNPRIVILEGED;
  static const sd_bus_vtable helper[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD_WITH_ARGS("connectWithEndpoint", SD_BUS_NO_ARGS, SD_BUS_RESULT("h", endpoint),
                              Methods::connectWithEndpoint, open),
      SD_BUS_METHOD_WITH_ARGS("getVersionString", SD_BUS_NO_ARGS, SD_BUS_RESULT("s", version),
                              Methods::getVersionString, open),
      SD_BUS_METHOD_WITH_ARGS("registerClientWithPID", SD_BUS_ARGS("i", identifier),
                              SD_BUS_NO_RESULT, Methods::registerClientWithPID, open),
      SD_BUS_METHOD_WITH_ARGS("unregisterClientWithPID", SD_BUS_ARGS("i", identifier),
                              SD_BUS_NO_RESULT, Methods::unregisterClientWithPID, open),
      SD_BUS_METHOD_WITH_ARGS("performPrivilegedOperation",
                              SD_BUS_ARGS("t", operation, "ay", authorizationData, "ah",
                                          feedbackEndpoint, "av", arguments),
                              SD_BUS_RESULT("s", domain, "x", code, "a{sv}", userInformation),
                              Methods::performPrivilegedOperation, open),
      SD_BUS_VTABLE_END};
  static const sd_bus_vtable authority[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD_WITH_ARGS("createExternalForm", SD_BUS_NO_ARGS,
                              SD_BUS_RESULT("ay", externalForm), Methods::createExternalForm, open),
      SD_BUS_VTABLE_END};

  wire_->addObject(wire::helperPath, wire::helperInterface, helper, this);
  wire_->addObject(wire::helperPath, wire::authorityInterface, authority, this);
}

bool ServedConnection::serve(FileDescriptor socket, const Peer& peer, ConnectionQuota::Place place,
                             QRTPrivilegedHelperProtocol& object) {
  try {
    std::thread([socket = std::move(socket), peer, place = std::move(place), &object]() mutable {
      auto wire = WireConnection::make(std::move(socket), WireConnection::Role::server);
      if (wire) ServedConnection(std::move(*wire), peer, object).run();
    }).detach();
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

void ServedConnection::run() {
  if (!wire_->handshake()) return;
  for (;;) {
    const auto progress = wire_->step(WireConnection::Patience::untilMessage);
    if (progress == WireConnection::Progress::closed) return;
    if (progress == WireConnection::Progress::made) continue;
    // The peer has sent half a message, or does not read its replies. It may be dead without a
    // sign: if it sent its own end of the connection along, that end waits here and stays open.
    pollfd waiting{wire_->socket(), wire_->pollEvents(), 0};
    const int ready =
        poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds(stallLimit).count()));
    if (ready == 0 || (ready < 0 && errno != EINTR)) return;
  }
}

}  // namespace qrt
