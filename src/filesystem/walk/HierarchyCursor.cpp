#include "filesystem/walk/HierarchyCursor.h"

#include <iterator>

namespace qrt {

void HierarchyCursor::enterBase(FileAt base, Links links) {
  enter(base, links, WalkBounds::Depth());
}

bool HierarchyCursor::enterFolder(const UpcomingFolder& folder) {
  path_ = folder.path;
  return enter({*folder.holder, folder.name.c_str()}, Links::stay, folder.depth.below(folder.name));
}

bool HierarchyCursor::enter(FileAt folder, Links links, WalkBounds::Depth depth) {
  auto opened = files_.openFolder(folder, links);
  if (!opened) {
    if (isExhaustion(opened.error())) failure_ = opened.error();
    return false;
  }
  levels_.push_back({std::make_shared<Folder>(std::move(*opened)), depth});
  return true;
}

bool HierarchyCursor::advance() {
  while (!levels_.empty() && failure_ == PosixCode::success) {
    const auto& level = levels_.back();
    const auto entry = level.folder->next();
    if (entry && *entry) {
      moveTo(level, **entry);
      return true;
    }
    if (!entry && isExhaustion(entry.error())) failure_ = entry.error();
    levels_.pop_back();
  }
  return false;
}

void HierarchyCursor::moveTo(const Level& level, const FolderEntry& entry) {
  if (entry_.holder != level.folder) entry_.holder = level.folder;
  entry_.name = entry.name;
  entry_.type = entry.type;
  entry_.depth = level.depth;
  entry_.limit = WalkBounds::Limit::none;
  entry_.isEntered = false;
  level.depth.lead(path_, entry.name);
  isToBeEntered_ = bounds_.includesContentsOf(entry_.object(), entry.type, path_);
  if (!isToBeEntered_) return;
  entry_.limit = level.depth.limitFor(entry.name);
  isToBeEntered_ = entry_.limit == WalkBounds::Limit::none;
}

void HierarchyCursor::enterObject() {
  failure_ = PosixCode::success;
  entry_.isEntered = enter(entry_.object(), Links::stay, entry_.depth.below(entry_.name));
}

void HierarchyCursor::enterObject(HierarchyCursor& begun) {
  entry_.isEntered = true;
  levels_.insert(levels_.end(), std::make_move_iterator(begun.levels_.begin()),
                 std::make_move_iterator(begun.levels_.end()));
  path_.swap(begun.path_);
}

void HierarchyCursor::leaveTo(std::size_t levels) {
  while (levels_.size() > levels) levels_.pop_back();
}

std::optional<UpcomingFolder> HierarchyCursor::upcomingFolder(std::size_t level,
                                                              const char* previous) const {
  const auto& [folder, depth] = levels_[level];
  const auto* name = folder->upcomingFolder(previous);
  for (; name != nullptr; name = folder->upcomingFolder(name)) {
    if (depth.limitFor(name) != WalkBounds::Limit::none) continue;
    UpcomingFolder found{folder, depth, name, path_};
    depth.lead(found.path, name);
    if (bounds_.includesContentsOf({*folder, name}, file_type::folder, found.path)) return found;
  }
  return std::nullopt;
}

}  // namespace qrt
