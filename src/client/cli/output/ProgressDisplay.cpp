#include "client/cli/output/ProgressDisplay.h"

#include <fmt/format.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "client/cli/output/ProgressLine.h"
#include "platform/Terminal.h"

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

/// The line, and a thread that updates its time while no message arrives.
class MovingProgress : public ProgressDisplay {
 public:
  MovingProgress(Terminal& terminal, const std::string& label, const std::atomic<bool>& isStopping)
      : line_(terminal, label, Clock::now(), isStopping), ticker_([this] { tickUntilEnd(); }) {}
  ~MovingProgress() override { stopTicking(); }

  void setFraction(double fraction) override {
    const std::lock_guard lock(mutex_);
    line_.setFraction(fraction, Clock::now());
  }

  void addFound(std::size_t count) override {
    const std::lock_guard lock(mutex_);
    line_.addFound(count);
  }

  void makeRoom() override {
    const std::lock_guard lock(mutex_);
    line_.hide();
  }

  void end(bool isDone) override {
    stopTicking();
    if (isDone) {
      line_.finish(Clock::now());
    } else {
      line_.hide();
    }
  }

 private:
  void tickUntilEnd() {
    std::unique_lock lock(mutex_);
    while (!ended_.wait_for(lock, ProgressLine::shortestInterval, [this] { return isEnding_; })) {
      line_.tick(Clock::now());
    }
  }

  void stopTicking() {
    {
      const std::lock_guard lock(mutex_);
      isEnding_ = true;
    }
    ended_.notify_one();
    if (ticker_.joinable()) ticker_.join();
  }

  std::mutex mutex_;
  std::condition_variable ended_;
  bool isEnding_ = false;
  ProgressLine line_;
  std::thread ticker_;
};

class PlainProgress : public ProgressDisplay {
 public:
  PlainProgress(Terminal& terminal, std::string label)
      : terminal_(terminal), label_(std::move(label)) {}

  void setFraction(double fraction) override {
    const int tenth = static_cast<int>(fraction * 10);
    if (tenth <= shownTenth_) return;
    shownTenth_ = tenth;
    terminal_.write(StandardStream::error, fmt::format("{}: {} %\n", label_, tenth * 10));
  }

  void addFound(std::size_t) override {}
  void makeRoom() override {}
  void end(bool) override {}

 private:
  Terminal& terminal_;
  std::string label_;
  int shownTenth_ = 0;
};

}  // namespace

std::unique_ptr<ProgressDisplay> makeProgressDisplay(ProgressForm form, Terminal& terminal,
                                                     const std::string& label,
                                                     const std::atomic<bool>& isStopping) {
  switch (form) {
    case ProgressForm::redrawn:
      return std::make_unique<MovingProgress>(terminal, label, isStopping);
    case ProgressForm::lines:
      return std::make_unique<PlainProgress>(terminal, label);
    case ProgressForm::none:
      break;
  }
  return nullptr;
}

}  // namespace qrt
