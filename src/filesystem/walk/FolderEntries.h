// Entries of a folder, read before they are visited.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Folder.h"

namespace qrt {

/// A copy of some entries, which are handed out one by one. Belongs to one thread at a time.
class FolderEntries {
 public:
  /// Of a large folder. Their memory is at most 6 MB.
  static constexpr std::size_t many = 200'000;

  /// The next entries of the folder, at most so many. Fewer at its end and before a failure, which
  /// the next reading of the folder returns.
  static FolderEntries read(Folder& folder, std::size_t maximum);

  /// Puts them into the order in which disks keep the objects. In the order of a large folder's
  /// listing, each object would be in another place of the disk than the one before.
  void orderByInode();

  bool isEmpty() const { return next_ == entries_.size(); }
  /// Its name is valid as long as the entries exist. Nothing at the end.
  std::optional<FolderEntry> next();

  /// Takes the next entries out of these, at most so many.
  FolderEntries take(std::size_t maximum);

 private:
  static constexpr std::size_t maximumNameBytes = 2'400'000;

  struct Entry {
    std::uint64_t inode;
    std::uint32_t name;
    std::uint32_t type;
  };

  void add(const FolderEntry& entry);

  std::vector<Entry> entries_;
  /// Each with its zero.
  std::string names_;
  std::size_t next_ = 0;
};

}  // namespace qrt
