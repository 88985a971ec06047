// A second thread that works for one thread.
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace qrt {

/// Does one piece of work at a time. Waking a thread takes as long as listing a dozen folders, so
/// each of the two looks out for the other a little while before it sleeps.
///
/// Belongs to one thread. The work sees what that thread wrote before `begin`, and the thread sees
/// what the work wrote once the companion is free.
class Companion {
 public:
  Companion() = default;
  Companion(const Companion&) = delete;
  Companion& operator=(const Companion&) = delete;
  /// Waits for the work.
  ~Companion();

  bool isFree() const { return state_ == State::free; }

  /// Has the other thread do something; it must be free. Where there is no thread to be had, this
  /// one does it.
  void begin(std::function<void()> work);

  /// Returns when the other thread is free, or throws what its work threw.
  void wait();

 private:
  enum class State { free, working, over };

  void work();
  void become(State state);
  void waitWhile(State state);

  std::atomic<State> state_ = State::free;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> work_;
  std::exception_ptr problem_;
  std::thread thread_;
};

}  // namespace qrt
