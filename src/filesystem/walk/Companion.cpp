#include "filesystem/walk/Companion.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

Companion::~Companion() {
  if (!thread_.joinable()) return;
  waitWhile(State::working);
  become(State::over);
  thread_.join();
}

void Companion::begin(std::function<void()> work) {
  work_ = std::move(work);
  try {
    if (!thread_.joinable()) thread_ = std::thread([this] { this->work(); });
    become(State::working);
  } catch (const std::system_error&) {
    work_();
  }
}

void Companion::wait() {
  waitWhile(State::working);
  if (auto problem = std::exchange(problem_, nullptr)) std::rethrow_exception(problem);
}

void Companion::work() {
  for (;;) {
    waitWhile(State::free);
    if (state_ == State::over) return;
    try {
      work_();
    } catch (...) {
      problem_ = std::current_exception();
    }
    become(State::free);
  }
}

void Companion::become(State state) {
  {
    const std::lock_guard lock(mutex_);
    state_ = state;
  }
  changed_.notify_one();
}

void Companion::waitWhile(State state) {
  constexpr std::chrono::microseconds patience{100};
  const auto end = Clock::now() + patience;
  do {
    if (state_ != state) return;
  } while (Clock::now() < end);
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return state_ != state; });
}

}  // namespace qrt
