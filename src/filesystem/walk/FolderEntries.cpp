#include "filesystem/walk/FolderEntries.h"

#include <algorithm>

namespace qrt {

FolderEntries FolderEntries::read(Folder& folder, std::size_t maximum) {
  constexpr std::size_t usualNameBytes = 12;
  FolderEntries entries;
  // Memory that grows step by step takes up to three times as much on the way.
  entries.entries_.reserve(maximum);
  entries.names_.reserve(std::min(maximum * usualNameBytes, maximumNameBytes));
  while (entries.entries_.size() < maximum && entries.names_.size() < maximumNameBytes) {
    const auto entry = folder.next();
    if (!entry || !*entry) break;
    entries.add(**entry);
  }
  return entries;
}

void FolderEntries::orderByInode() {
  std::sort(entries_.begin(), entries_.end(),
            [](const Entry& a, const Entry& b) { return a.inode < b.inode; });
}

std::optional<FolderEntry> FolderEntries::next() {
  if (isEmpty()) return std::nullopt;
  const auto& entry = entries_[next_++];
  return FolderEntry{names_.data() + entry.name, entry.type, entry.inode};
}

FolderEntries FolderEntries::take(std::size_t maximum) {
  FolderEntries taken;
  while (taken.entries_.size() < maximum && !isEmpty()) taken.add(*next());
  return taken;
}

void FolderEntries::add(const FolderEntry& entry) {
  entries_.push_back({entry.inode, static_cast<std::uint32_t>(names_.size()), entry.type});
  names_.append(entry.name) += '\0';
}

}  // namespace qrt
