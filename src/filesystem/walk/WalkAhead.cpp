#include "filesystem/walk/WalkAhead.h"

#include <cstddef>
#include <thread>
#include <utility>

namespace qrt {
namespace {

constexpr unsigned foldersOfLongWalk = 64;

/// A walk holds what is ahead in memory, and its folders open.
constexpr std::size_t enough = 4;

}  // namespace

void WalkAhead::prepare(const HierarchyCursor& walk) {
  static const bool hasTwoProcessors = std::thread::hardware_concurrency() > 1;
  const bool isLongWalk = enteredFolders_ == foldersOfLongWalk;
  if (!isLongWalk) ++enteredFolders_;
  if (!isLongWalk || !hasTwoProcessors || !lister_.isFree() || branches_.size() == enough) return;

  const auto from = branches_.empty() ? 0 : branches_.back()->depth().levels();
  auto folder = walk.folderToCome(from);
  if (!folder) return;

  branches_.push_back(std::make_unique<Branch>(files_, scope_, std::move(*folder), statuses_));
  lister_.begin([this, branch = branches_.back().get()] { branch->record(isWanted_); });
}

std::unique_ptr<Branch> WalkAhead::take(const Sighting& folder) {
  if (branches_.empty() || !branches_.back()->isOf(folder)) return nullptr;
  auto branch = takeLast();
  return branch->isUsable() ? std::move(branch) : nullptr;
}

bool WalkAhead::forget(std::size_t levels) {
  const auto before = branches_.size();
  while (!branches_.empty() && branches_.back()->depth().levels() > levels) takeLast();
  return branches_.size() != before;
}

std::unique_ptr<Branch> WalkAhead::takeLast() {
  isWanted_ = true;
  lister_.wait();
  isWanted_ = false;
  auto branch = std::move(branches_.back());
  branches_.pop_back();
  return branch;
}

}  // namespace qrt
