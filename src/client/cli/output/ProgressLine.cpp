#include "client/cli/output/ProgressLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

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

ProgressLine::ProgressLine(Terminal& terminal, std::string label, TimePoint start)
    : terminal_(terminal),
      label_(std::move(label)),
      start_(start),
      nextDraw_(start + shortestInterval) {}

void ProgressLine::setFraction(double fraction, TimePoint now) {
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
  if (!wasEverShown_) return;
  fraction_ = 1;
  draw(now);
  terminal_.write(StandardStream::error, "\n");
  shown_.clear();
}

bool ProgressLine::draw(TimePoint now) {
  auto text = content(now);
  if (text == shown_) return false;
  // Blanks cover the rest of a longer line before it.
  const auto width = std::min(shown_.size(), room());
  terminal_.write(StandardStream::error, fmt::format("\r{:{}}", text, width));
  shown_ = std::move(text);
  wasEverShown_ = true;
  return true;
}

std::size_t ProgressLine::room() const {
  // The last column stays empty: some terminals wrap as soon as it is written.
  return std::max<std::size_t>(terminal_.columns(), 2) - 1;
}

std::string ProgressLine::content(TimePoint now) const {
  const auto figures =
      fmt::format("{:3} %  {}", static_cast<int>(fraction_ * 100), elapsedText(now - start_));
  auto labelled = label_ + "  " + figures;
  if (labelled.size() > room()) return figures.substr(0, room());

  constexpr std::size_t frame = 4;
  const auto width = std::min(room() - labelled.size(), widestBar + frame);
  if (width < narrowestBar + frame) return labelled;
  return label_ + "  " + bar(fraction_, width - frame) + figures;
}

}  // namespace qrt
