// A depth-first walk from open folder to open folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "filesystem/walk/WalkDepth.h"
#include "filesystem/walk/WalkScope.h"
#include "platform/FileSystem.h"

namespace qrt {

/// An object as a walk comes upon it.
struct Sighting {
  std::shared_ptr<const Folder> holder;
  const char* name = nullptr;
  /// Type bits (`file_type`), or 0 where the file system's listing does not tell.
  std::uint32_t type = 0;
  /// Of the folder that holds it.
  WalkDepth depth;
  /// What keeps the walk out of a folder that it would go into otherwise.
  WalkDepth::Limit limit = WalkDepth::Limit::none;
  bool isEntered = false;
  /// The object's own if it was read already.
  const FileStatus* status = nullptr;

  FileAt object() const { return {*holder, name}; }

  /// How many folders the walk is in now.
  std::size_t levels() const { return depth.levels() + (isEntered ? 1 : 0); }
};

/// A folder that a walk has yet to come to.
struct FolderToCome {
  std::shared_ptr<const Folder> holder;
  /// Of the folder that holds it.
  WalkDepth depth;
  std::string name;
  /// Relative to the base.
  std::string path;
};

/// Where a walk stands and how it goes on: folders before their contents, in the order of the file
/// system. A folder that cannot be read is come to and not entered.
///
/// Belongs to one thread at a time. What is passed to it outlives it.
class HierarchyCursor {
 public:
  HierarchyCursor(FileSystem& files, const WalkScope& scope) : files_(files), scope_(scope) {}
  HierarchyCursor(const HierarchyCursor&) = delete;
  HierarchyCursor& operator=(const HierarchyCursor&) = delete;

  /// Begins with the contents of the walk's base.
  void enterBase(FileAt base, Links links);
  /// Begins with the contents of a folder that another cursor of the walk has yet to come to; false
  /// if it cannot be opened.
  bool enterFolder(const FolderToCome& folder);

  /// Goes to the next object; false when the walk is over.
  bool advance();

  /// Whether the object is a folder whose contents come next. `enterObject` goes into it; without
  /// that, they are passed over.
  bool isObjectToBeEntered() const { return isToBeEntered_; }
  void enterObject();

  /// The same, when its contents were begun by another cursor: goes on where that one stopped.
  void enterObject(HierarchyCursor& begun);

  /// Leaves folders until the walk is in no more than so many.
  void leaveTo(std::size_t levels);

  /// The next folder to be entered in the outermost folder that is more than `levels` down, as far
  /// as the system has told its contents already.
  std::optional<FolderToCome> folderToCome(std::size_t levels) const;

  /// The object that the cursor has come to. Its name is good until the next one.
  const Sighting& sighting() const { return sighting_; }
  /// Its path relative to the base.
  const std::string& path() const { return path_; }

  /// `success`, or why the walk ended before its end: descriptors or memory ran out.
  PosixCode failure() const { return failure_; }

 private:
  struct Level {
    std::shared_ptr<Folder> folder;
    WalkDepth depth;
  };

  bool enter(FileAt folder, Links links, WalkDepth depth);
  void comeTo(const Level& level, const FolderEntry& entry);

  FileSystem& files_;
  const WalkScope& scope_;
  /// The folders that the walk is in, the outermost first.
  std::vector<Level> levels_;
  Sighting sighting_;
  /// Begins with the path of the folder that holds the object.
  std::string path_;
  bool isToBeEntered_ = false;
  PosixCode failure_ = PosixCode::success;
};

}  // namespace qrt
