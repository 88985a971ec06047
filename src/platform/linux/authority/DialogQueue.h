// The order in which password dialogs are shown.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>

#include "platform/Authority.h"
#include "platform/linux/authority/Asker.h"

namespace qrt {

/// A person sees at most one dialog of each process and four of each user. Further askers wait in
/// the order in which they came. Thread-safe.
class DialogQueue {
 public:
  static constexpr std::size_t maximumOfOneProcess = 1;
  static constexpr std::size_t maximumOfOneUser = 4;

  /// The right to show one dialog; passes to the next asker when it goes.
  class Turn {
   public:
    ~Turn() { queue_.leave(*this); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    friend DialogQueue;
    Turn(DialogQueue& queue, const PeerIdentity& process, FileDescriptor signal)
        : queue_(queue), process_(process), signal_(std::move(signal)) {}

    DialogQueue& queue_;
    const PeerIdentity process_;
    /// Becomes readable when the turn has come.
    const FileDescriptor signal_;
    bool hasCome_ = false;
  };

  /// Waits for the asker's turn. `canceled` when the asker is gone before, `internal` without
  /// resources to wait with.
  Result<std::unique_ptr<Turn>, AuthorizationStatus> wait(const Asker& asker);

 private:
  bool hasCome(const Turn& turn);
  void leave(Turn& turn);
  void callNext();
  bool mayCome(const Turn& turn) const;

  std::mutex mutex_;
  /// The longest waiting first; those whose turn has come among them. Not owned.
  std::list<Turn*> turns_;
};

}  // namespace qrt
