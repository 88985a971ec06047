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
#include "platform/LeaseWait.h"
#include "platform/OpenFile.h"

namespace qrt {

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
///
/// A name may mean another object at the next call. What is read of an object and what is changed
/// by it therefore go through one `HeldObject`. Calls by name are for what has no other way:
/// making, renaming and removing entries of a folder, and the flags of many objects.
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
  /// The same, but an object that has the name already goes at that very moment.
  virtual PosixCode replace(FileAt object, FileAt replaced) = 0;

  /// Writes the contents of a regular file into an empty one and keeps its holes. Anything else
  /// than a regular file is `invalidArgument`. A file whose lease another process does not give up
  /// in time is `tryAgain`.
  virtual PosixCode copyContents(const HeldObject& from, OpenFile& to, LeaseWait& leases) = 0;

  /// Returns when everything written to the folder's file system is safe from a loss of power.
  virtual PosixCode synchronize(const Folder& onFileSystem) = 0;

  /// Removes a folder (which must be empty) or anything else; the caller says which.
  virtual PosixCode removeFolder(FileAt object) = 0;
  virtual PosixCode removeFile(FileAt object) = 0;

  /// Gives the object the BSD flags `wanted`; a link is not followed. `seen` is its status as just
  /// read. Only flags that differ from those are written, so that an object that has taken its
  /// place gets none of the others; a read-only file system refuses even when none differs, and so
  /// does an object with a flag of `refusingChanges`. Flags that the file system or the kind of
  /// object cannot have are `notSupported`. What is written to is never a device or a FIFO.
  virtual PosixCode setFlags(FileAt object, const FileStatus& seen, std::uint32_t wanted) = 0;

  /// The contents of a regular file of at most `limit` bytes; a larger one is `noSpace`, anything
  /// that is not a regular file `invalidArgument`. Never blocks on a FIFO.
  virtual PosixResult<Data> readFile(FileAt object, std::size_t limit) = 0;
};

}  // namespace qrt
