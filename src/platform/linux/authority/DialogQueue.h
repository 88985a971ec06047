// The order in which password dialogs are shown.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>

#include "platform/Authority.h"
#include "platform/linux/authority/Asker.h"

namespace qrt {

/// At most one dialog of each process and four of each user are shown. Other askers wait in the
/// order of their arrival. Thread-safe.
class DialogQueue {
 public:
  static constexpr std::size_t maximumOfOneProcess = 1;
  static constexpr std::size_t maximumOfOneUser = 4;

  /// The permission to show one dialog. Its destruction calls the next asker.
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

  /// Waits for the asker's turn. `canceled` when the asker ends before, `internal` when the system
  /// has no resources for waiting.
  Result<std::unique_ptr<Turn>, AuthorizationStatus> wait(const Asker& asker);

 private:
  bool hasCome(const Turn& turn);
  void leave(Turn& turn);
  void callNext();
  bool mayCome(const Turn& turn) const;

  std::mutex mutex_;
  /// In order of arrival, with those whose dialog is shown now. Not owned.
  std::list<Turn*> turns_;
};

}  // namespace qrt
