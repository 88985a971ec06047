#include "filesystem/walk/Workers.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace qrt {
namespace {

std::size_t processors() {
  // 0 means that the system does not know.
  static const std::size_t count = std::max(1u, std::thread::hardware_concurrency());
  return std::min(count, WorkerCount::maximum);
}

/// How many workers keep the processors busy when each waits for that part of its time.
std::size_t workersFor(double waitingPart) {
  // Also in memory, threads wait for each other's locks.
  constexpr double waitingInMemory = 0.33;
  if (processors() == 1 || waitingPart < waitingInMemory) return processors();
  // Twice what the mean needs, because waits differ in length.
  const auto workers = 2 * static_cast<double>(processors()) / std::max(1.0 - waitingPart, 0.01);
  return std::min(WorkerCount::maximum, static_cast<std::size_t>(workers));
}

}  // namespace

WorkerCount::WorkerCount(WorkerShare share) : share_(share), wanted_(processors()) {
  share_.pool.join(share_.user);
}

WorkerCount::~WorkerCount() { share_.pool.leave(share_.user); }

void WorkerCount::note(std::chrono::duration<double> waiting, std::chrono::duration<double> time) {
  constexpr double keptOfPast = 0.95;
  const std::lock_guard lock(mutex_);
  waiting_ = waiting_ * keptOfPast + waiting;
  time_ = time_ * keptOfPast + time;
  wanted_ = workersFor(waiting_ / time_);
}

bool WorkerCount::isWaiting() const { return wanted_ > processors(); }

bool WorkerCount::addHelper() {
  if (!wantsMore() || !share_.pool.take(share_.user)) return false;
  ++running_;
  return true;
}

void WorkerCount::removeHelper() {
  --running_;
  share_.pool.giveBack(share_.user);
}

bool WorkerCount::hasTooMany() const {
  // The measure varies, and starting a thread again costs more than a few threads too many.
  return running_ > 2 * wanted_ || share_.pool.isOverdrawn(share_.user);
}

void WorkerMeter::note() {
  const auto now = Clock::now();
  const auto use = useOfThread();
  if (use_) {
    // A busy machine or its host takes processors away. More threads would not help then.
    const std::chrono::duration<double> time = now - begin_;
    const auto used = use - *use_;
    const auto switches = used.waits + used.preemptions;
    const auto waitingPart =
        switches == 0 ? 0.0 : static_cast<double>(used.waits) / static_cast<double>(switches);
    count_.note(std::max(time - used.processorTime, {}) * waitingPart, time);
  }
  begin_ = now;
  use_ = use;
}

Helpers::Helpers(WorkerCount& count, std::function<void(std::size_t)> work)
    : count_(count), work_(std::move(work)) {}

void Helpers::addOne() {
  const std::lock_guard lock(mutex_);
  const auto free = std::find_if(helpers_.begin(), helpers_.end(),
                                 [](const auto& helper) { return !helper.isRunning; });
  if (isOver_ || free == helpers_.end() || !count_.addHelper()) return;
  if (free->thread.joinable()) free->thread.join();
  free->isRunning = true;
  start(*free, static_cast<std::size_t>(free - helpers_.begin()) + 1);
}

void Helpers::start(Helper& helper, std::size_t number) {
  try {
    helper.thread = std::thread([this, &helper, number] {
      work_(number);
      count_.removeHelper();
      helper.isRunning = false;
    });
  } catch (const std::system_error&) {
    // Without another thread, those that run do the work.
    helper.isRunning = false;
    count_.removeHelper();
  }
}

void Helpers::waitForAll() {
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  for (auto& helper : helpers_) {
    if (helper.thread.joinable()) helper.thread.join();
  }
}

}  // namespace qrt
