#include "client/cli/output/ProgressLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "client/cli/output/SizeText.h"
#include "platform/Terminal.h"

namespace qrt {
namespace {

constexpr std::size_t widestBar = 40;
constexpr std::size_t narrowestBar = 10;

std::string elapsedText(std::chrono::steady_clock::duration duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
  if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string bar(double fraction, std::size_t width) {
  const auto filled = static_cast<std::size_t>(fraction * static_cast<double>(width));
  return fmt::format("[{:#<{}}{:.<{}}]  ", "", filled, "", width - filled);
}

}  // namespace

ProgressLine::ProgressLine(Terminal& terminal, std::string label, TimePoint start,
                           const std::atomic<bool>& isStopping)
    : terminal_(terminal),
      label_(std::move(label)),
      start_(start),
      nextDraw_(start + shortestInterval),
      isStopping_(isStopping),
      moved_(start) {}

void ProgressLine::setFraction(double fraction, TimePoint now) {
  if (fraction != fraction_) moved_ = now;
  fraction_ = fraction;
  tick(now);
}

void ProgressLine::tick(TimePoint now) {
  if (now < nextDraw_ || !draw(now)) return;
  nextDraw_ = now + shortestInterval;
}

void ProgressLine::hide() {
  if (shown_.empty()) return;
  terminal_.write(StandardStream::error, fmt::format("\r{:{}}\r", "", shown_.size()));
  shown_.clear();
}

void ProgressLine::finish(TimePoint now) {
  hide();
  if (now - start_ < longRun) return;
  const auto result = found_ == 0 ? "done" : countText(found_) + " found";
  terminal_.write(StandardStream::error,
                  fmt::format("{}: {} in {}\n", label_, result, elapsedText(now - start_)));
}

bool ProgressLine::draw(TimePoint now) {
  auto text = content(now);
  if (text == shown_) return false;
  // Blanks cover the rest of a longer line before it.
  const auto width = std::min(shown_.size(), room());
  terminal_.write(StandardStream::error, fmt::format("\r{:{}}", text, width));
  shown_ = std::move(text);
  return true;
}

std::size_t ProgressLine::room() const {
  // The last column stays empty: some terminals wrap as soon as it is written.
  return std::max<std::size_t>(terminal_.columns(), 2) - 1;
}

/// An operation that does not know how much it has to do may be far from its end at 1.
bool ProgressLine::isPartKnown() const { return fraction_ > 0 && fraction_ < 1; }

/// What is known, and the time.
std::string ProgressLine::figures(TimePoint now) const {
  std::string text;
  if (isPartKnown()) text = fmt::format("{:3} %  ", static_cast<int>(fraction_ * 100));
  if (found_ > 0) text += countText(found_) + " found  ";
  return text + elapsedText(now - start_);
}

std::string ProgressLine::content(TimePoint now) const {
  const bool isMoving = isPartKnown() && now - moved_ < standstill;
  const auto known = figures(now);
  auto text = known;
  if (isStopping_) {
    text = "stopping; Ctrl-C again leaves  " + known;
  } else if (!isMoving && found_ == 0) {
    text = "working  " + known;
  }
  if (text.size() > room()) return known.substr(0, room());
  auto labelled = label_ + "  " + text;
  if (labelled.size() > room()) return text;

  constexpr std::size_t frame = 4;
  const auto width = std::min(room() - labelled.size(), widestBar + frame);
  if (!isMoving || isStopping_ || width < narrowestBar + frame) return labelled;
  return label_ + "  " + bar(fraction_, width - frame) + text;
}

}  // namespace qrt
