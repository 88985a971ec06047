// Feedback over a socket that the requestor passed along.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/linux/wire/WireConnection.h"
#include "protocol/FeedbackConnection.h"

namespace qrt {

/// The daemon's end of a requestor's feedback socket. A thread of its own writes what waits,
/// answers the peer's calls, and notices when the requestor is gone. The one call that matters asks
/// for the end of the operation; from then on nothing waits for room.
class LinuxFeedbackConnection : public FeedbackConnection {
 public:
  static constexpr std::size_t maximumWaiting = 256;
  static constexpr std::size_t maximumWaitingBytes = 1 << 20;
  /// A requestor has hardly anything to say here. One that sends more is not listened to any
  /// longer.
  static constexpr WireConnection::InputLimit inputLimit{.messages = 100,
                                                         .bytesOfMessage = 4 << 10};
  static constexpr std::chrono::seconds progressPatience{5};
  /// The time that a peer has to say Hello before the first message is sent.
  static constexpr std::chrono::milliseconds greetingPatience{20};

  /// `requestor` is the socket of the connection that sent the request. Records and output wait for
  /// their reader as long as it lives. Not owned.
  LinuxFeedbackConnection(std::vector<FileDescriptor> endpoint, int requestor,
                          const RemoteInterface& interface);
  ~LinuxFeedbackConnection() override;

  Outcome open(Dictionary firstMessage) override;
  void processPrivilegedOperationFeedback(FeedbackMessage message) override;
  const StopRequest& stopRequest() const override { return stopRequest_; }
  void suspend() override;

 private:
  using Clock = std::chrono::steady_clock;

  /// What is called, as D-Bus names it.
  struct RemoteMethod {
    std::string path, interface, name;
  };
  struct Waiting {
    FeedbackMessage message;
    std::size_t bytes;
    bool canBeLost;
  };

  Outcome connect();
  bool send(const FeedbackMessage& message);
  void run();
  bool sendWaiting();
  bool waitForEvents();
  void enqueue(FeedbackMessage message, bool canBeLost);
  bool isFull(std::size_t further, std::size_t times = 1) const;
  void stop();
  void wakeThread();

  std::vector<FileDescriptor> endpoint_;
  int requestor_;
  const RemoteMethod method_;
  std::unique_ptr<WireConnection> wire_;
  FileDescriptor wake_;
  std::thread thread_;
  StopRequest stopRequest_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Waiting> waiting_;
  std::size_t waitingBytes_ = 0;
  /// The newest progress that found no place. It replaces older progress.
  std::optional<FeedbackMessage> newestProgress_;
  bool lostRequestor_ = false;
  std::optional<Clock::time_point> closingSince_;
  /// The message that is being written must arrive, however long its reader takes.
  bool writingMustArrive_ = false;
};

/// The sockets for feedback that arrived with a request; only a single one is valid.
class LinuxFeedbackEndpoint : public FeedbackEndpoint {
 public:
  LinuxFeedbackEndpoint(std::vector<FileDescriptor> sockets, int requestor)
      : sockets_(std::move(sockets)), requestor_(requestor) {}

  std::unique_ptr<FeedbackConnection> connect(const RemoteInterface& interface) override {
    return std::make_unique<LinuxFeedbackConnection>(std::move(sockets_), requestor_, interface);
  }

 private:
  std::vector<FileDescriptor> sockets_;
  int requestor_;
};

}  // namespace qrt
