#include "filesystem/walk/HierarchyCursor.h"

#include <iterator>

namespace qrt {

void HierarchyCursor::enterBase(FileAt base, Links links) { enter(base, links, WalkDepth()); }

bool HierarchyCursor::enterFolder(const FolderToCome& folder) {
  path_ = folder.path;
  return enter({*folder.holder, folder.name.c_str()}, Links::stay, folder.depth.below(folder.name));
}

bool HierarchyCursor::enter(FileAt folder, Links links, WalkDepth depth) {
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
      comeTo(level, **entry);
      return true;
    }
    if (!entry && isExhaustion(entry.error())) failure_ = entry.error();
    levels_.pop_back();
  }
  return false;
}

void HierarchyCursor::comeTo(const Level& level, const FolderEntry& entry) {
  if (sighting_.holder != level.folder) sighting_.holder = level.folder;
  sighting_.name = entry.name;
  sighting_.type = entry.type;
  sighting_.depth = level.depth;
  sighting_.limit = WalkDepth::Limit::none;
  sighting_.isEntered = false;
  level.depth.lead(path_, entry.name);
  isToBeEntered_ = scope_.includesContentsOf(sighting_.object(), entry.type, path_);
  if (!isToBeEntered_) return;
  sighting_.limit = level.depth.limitFor(entry.name);
  isToBeEntered_ = sighting_.limit == WalkDepth::Limit::none;
}

void HierarchyCursor::enterObject() {
  failure_ = PosixCode::success;
  sighting_.isEntered =
      enter(sighting_.object(), Links::stay, sighting_.depth.below(sighting_.name));
}

void HierarchyCursor::enterObject(HierarchyCursor& begun) {
  sighting_.isEntered = true;
  levels_.insert(levels_.end(), std::make_move_iterator(begun.levels_.begin()),
                 std::make_move_iterator(begun.levels_.end()));
  path_.swap(begun.path_);
}

void HierarchyCursor::leaveTo(std::size_t levels) {
  while (levels_.size() > levels) levels_.pop_back();
}

std::optional<FolderToCome> HierarchyCursor::folderToCome(std::size_t levels) const {
  for (auto level = levels; level < levels_.size(); ++level) {
    const auto& [folder, depth] = levels_[level];
    const auto* name = folder->upcomingFolder();
    if (name == nullptr || depth.limitFor(name) != WalkDepth::Limit::none) continue;
    FolderToCome found{folder, depth, name, path_};
    depth.lead(found.path, name);
    if (scope_.includesContentsOf({*folder, name}, file_type::folder, found.path)) return found;
  }
  return std::nullopt;
}

}  // namespace qrt
