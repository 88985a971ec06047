// A depth-first walk from open folder to open folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "filesystem/walk/WalkBounds.h"
#include "platform/FileSystem.h"

namespace qrt {

/// An object that a walk has found.
struct WalkEntry {
  /// Null if the folder was closed after the object was recorded.
  std::shared_ptr<const Folder> holder;
  const char* name = nullptr;
  /// Type bits (`file_type`), or 0 if the file system's listing does not have them.
  std::uint32_t type = 0;
  /// Of the folder that holds it.
  WalkBounds::Depth depth;
  /// The limit that keeps the walk out of a folder that it would enter otherwise.
  WalkBounds::Limit limit = WalkBounds::Limit::none;
  bool isEntered = false;
  /// Of the object itself, if it was read already.
  const FileStatus* status = nullptr;

  FileAt object() const { return {*holder, name}; }

  /// How many folders the walk is in now.
  std::size_t levels() const { return depth.levels() + (isEntered ? 1 : 0); }
};

/// A folder that a walk has not reached yet.
struct UpcomingFolder {
  std::shared_ptr<const Folder> holder;
  /// Of the folder that holds it.
  WalkBounds::Depth depth;
  std::string name;
  /// Relative to the base.
  std::string path;
};

/// The position of a walk and its way forward: folders before their contents, in the order of the
/// file system. A folder that cannot be read is visited and not entered.
///
/// Belongs to one thread at a time. What is passed to it outlives it.
class HierarchyCursor {
 public:
  HierarchyCursor(FileSystem& files, const WalkBounds& bounds) : files_(files), bounds_(bounds) {}
  HierarchyCursor(const HierarchyCursor&) = delete;
  HierarchyCursor& operator=(const HierarchyCursor&) = delete;

  /// Begins with the contents of the walk's base.
  void enterBase(FileAt base, Links links);
  /// Begins with the contents of a folder that another cursor of the walk has not reached yet.
  /// Returns false if it cannot be opened.
  bool enterFolder(const UpcomingFolder& folder);

  /// Moves to the next object; false at the end of the walk.
  bool advance();

  /// Whether the object is a folder to enter. Its contents come next after `enterObject`; without
  /// that call they are skipped.
  bool isObjectToBeEntered() const { return isToBeEntered_; }
  void enterObject();

  /// The same for a folder that another cursor began: continues where that cursor stopped.
  void enterObject(HierarchyCursor& begun);

  /// Leaves folders until the walk is in no more than so many.
  void leaveTo(std::size_t levels);

  /// How many folders the walk is in.
  std::size_t levels() const { return levels_.size(); }

  /// The next folder that the walk will enter in the folder that is `level` down, 0 for the base;
  /// after the folder `previous` if that is given. Knows only the part of a listing that the system
  /// has already returned.
  std::optional<UpcomingFolder> upcomingFolder(std::size_t level,
                                               const char* previous = nullptr) const;

  /// The object at the cursor. Its name is valid until the next call of `advance`.
  const WalkEntry& entry() const { return entry_; }
  /// Its path relative to the base.
  const std::string& path() const { return path_; }

  /// `success`, or the reason why the walk ended early: descriptors or memory ran out.
  PosixCode failure() const { return failure_; }

 private:
  struct Level {
    std::shared_ptr<Folder> folder;
    WalkBounds::Depth depth;
  };

  bool enter(FileAt folder, Links links, WalkBounds::Depth depth);
  void moveTo(const Level& level, const FolderEntry& entry);

  FileSystem& files_;
  const WalkBounds& bounds_;
  /// The folders that the walk is in, the outermost first.
  std::vector<Level> levels_;
  WalkEntry entry_;
  /// Begins with the path of the folder that holds the object.
  std::string path_;
  bool isToBeEntered_ = false;
  PosixCode failure_ = PosixCode::success;
};

}  // namespace qrt
