// The file system, object by object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileStatus.h"
#include "platform/Folder.h"
#include "platform/HeldObject.h"
#include "platform/OpenFile.h"

namespace qrt {

enum class Links { follow, stay };

/// An object by the folder that holds it, resolved once. The object itself need not exist.
struct Location {
  Folder parent;
  std::string name;
  /// The path ended in a slash, so that it can mean a folder alone: a link named so is its target.
  bool meansFolder = false;

  FileAt at() const { return {parent, name.c_str()}; }

  /// "/" and paths that end in "." or "..", which have no name in a folder that holds them.
  bool isItself() const { return name == "."; }
};

/// True when opening failed for want of descriptors or memory, which says nothing about the object:
/// such a failure must never pass for an unreadable or missing folder.
constexpr bool isExhaustion(PosixCode code) {
  return code == PosixCode::tooManyFiles || code == PosixCode::tooManyFilesInSystem ||
         code == PosixCode::outOfMemory;
}

/// System calls on files, in contract numbers. Stateless and thread-safe.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  virtual PosixResult<FileStatus> status(FileAt object, Links links) = 0;

  virtual PosixResult<HeldObject> hold(FileAt object, Links links) = 0;

  /// The same for what was seen to be a regular file or a folder and shall have its access control
  /// list changed: opened for reading where that is possible, which halves the time that lists
  /// take. Links are not followed.
  virtual PosixResult<HeldObject> holdOpen(FileAt object) = 0;

  /// Opens a folder for reading and as a base. With `Links::stay` a link is `notDirectory`.
  virtual PosixResult<Folder> openFolder(FileAt object, Links links) = 0;
  /// Opens the very folder that is held.
  virtual PosixResult<Folder> openFolder(const HeldObject& folder) = 0;

  /// Splits a path at its last component and opens what stands before it, following links there.
  /// The parent serves as a base, its entries cannot be read. "/" and paths that end in "." or ".."
  /// are named "." in themselves. Nothing can be at an empty path or at one that holds a zero byte:
  /// `noEntry`. A path that ends in a slash where something else than a folder is, is
  /// `notDirectory`.
  virtual PosixResult<Location> locate(const std::string& path) = 0;

  /// What a link holds.
  virtual PosixResult<std::string> linkTarget(FileAt link) = 0;
  virtual PosixResult<std::string> linkTarget(const HeldObject& link) = 0;

  /// The absolute path of what a path leads to, without links, "." and "..".
  virtual PosixResult<std::string> resolvedPath(const std::string& path) = 0;

  /// Creation never touches what is there already: a name that is taken, be it by a link, is
  /// `exists`. New files and folders get exactly the given permission bits, and the mask of the
  /// process neither counts nor changes. What is returned is what was made: a folder that somebody
  /// has put something else in the place of, before it could be opened, is `exists` as well.
  virtual PosixResult<OpenFile> createFile(FileAt object, std::uint32_t permissions) = 0;
  virtual PosixResult<Folder> createFolder(FileAt object, std::uint32_t permissions) = 0;
  virtual PosixCode createLink(FileAt object, const std::string& target) = 0;
  virtual PosixCode createHardLink(FileAt object, FileAt existing) = 0;
  /// A FIFO, socket or device like `model`, open to its owner alone.
  virtual PosixCode createSpecialFile(FileAt object, const HeldObject& model) = 0;

  /// Gives an object another name on its file system. A name that is taken is `exists`.
  virtual PosixCode rename(FileAt object, FileAt newObject) = 0;

  virtual PosixCode setOwner(FileAt object, Links links, std::uint32_t userID,
                             std::uint32_t groupID) = 0;
  /// Sets the times of access and modification to now, or to those of another object. A link at
  /// `to` is not followed.
  virtual PosixCode touch(FileAt object, Links links) = 0;
  virtual PosixCode copyTimes(const HeldObject& from, FileAt to) = 0;
  /// Sets the time of creation to that of another object, where a file system lets it be set. A
  /// link at `to` is not followed.
  virtual PosixCode copyCreationTime(const HeldObject& from, FileAt to) = 0;

  /// Writes the contents of a regular file into an empty one and keeps its holes. Anything else
  /// than a regular file is `invalidArgument`.
  virtual PosixCode copyContents(const HeldObject& from, OpenFile& to) = 0;

  /// Returns when everything written to the folder's file system is safe from a loss of power.
  virtual PosixCode synchronize(const Folder& onFileSystem) = 0;

  /// Removes a folder (which must be empty) or anything else; the caller says which.
  virtual PosixCode removeFolder(FileAt object) = 0;
  virtual PosixCode removeFile(FileAt object) = 0;

  /// Gives the object the BSD flags `wanted`. `current` is its status as just read (of the target,
  /// when links are followed): flags that are already as wanted are not written, though a read-only
  /// file system still refuses, and so does an object with a flag of `refusingChanges`. Flags that
  /// the file system or the kind of object cannot have are `notSupported`. A link is resolved once;
  /// what is written to is never a device or a FIFO, even when the object was exchanged after its
  /// status was read.
  virtual PosixCode setFlags(FileAt object, Links links, const FileStatus& current,
                             std::uint32_t wanted) = 0;

  /// The contents of a regular file of at most `limit` bytes; a larger one is `noSpace`, anything
  /// that is not a regular file `invalidArgument`. Never blocks on a FIFO.
  virtual PosixResult<Data> readFile(FileAt object, std::size_t limit) = 0;
};

}  // namespace qrt
