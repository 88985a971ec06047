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

/// An object by its parent folder, resolved once. The object itself need not exist.
struct Location {
  Folder parent;
  std::string name;
  /// The path ended in a slash: it can mean only a folder, and a link means its target.
  bool meansFolder = false;

  FileAt at() const { return {parent, name.c_str()}; }

  /// "/" and paths that end in "." or "..", which have no name in a parent folder.
  bool isItself() const { return name == "."; }
};

/// True when a call failed because descriptors or memory ran out. That says nothing about the
/// object and must never be reported as an unreadable or missing folder.
constexpr bool isExhaustion(PosixCode code) {
  return code == PosixCode::tooManyFiles || code == PosixCode::tooManyFilesInSystem ||
         code == PosixCode::outOfMemory;
}

/// Calls on files; errors are contract codes. Stateless and thread-safe.
///
/// Between two calls, a name can begin to mean another object. Code that reads something of an
/// object and then changes it therefore uses one `HeldObject` for both. Calls by name create,
/// rename and remove entries of a folder, which no hold can do, and set the flags of many objects
/// fast.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  virtual PosixResult<FileStatus> status(FileAt object, Links links) = 0;

  virtual PosixResult<HeldObject> hold(FileAt object, Links links) = 0;

  /// Like `hold` for a regular file or folder whose access control list will change: opens it for
  /// reading where possible, because calls on lists then take half the time. Follows no link.
  virtual PosixResult<HeldObject> holdOpen(FileAt object) = 0;

  /// Opens a folder for reading and as a base. With `Links::stay` a link is `notDirectory`.
  virtual PosixResult<Folder> openFolder(FileAt object, Links links) = 0;
  /// Opens the held folder.
  virtual PosixResult<Folder> openFolder(const HeldObject& folder) = 0;

  /// Splits a path before its last component and opens the first part, following links in it. The
  /// parent can be used as a base only; its entries cannot be read. "/" and paths that end in "."
  /// or
  /// ".." have the name "." in themselves. An empty path and a path with a zero byte are `noEntry`.
  /// A path that ends in a slash and leads to something other than a folder is `notDirectory`.
  virtual PosixResult<Location> locate(const std::string& path) = 0;

  /// The text of a symbolic link.
  virtual PosixResult<std::string> linkTarget(FileAt link) = 0;
  virtual PosixResult<std::string> linkTarget(const HeldObject& link) = 0;

  /// The absolute path of the object at a path, without links, "." and "..".
  virtual PosixResult<std::string> resolvedPath(const std::string& path) = 0;

  /// Creation never changes an existing object: a taken name, also a link's, is `exists`. New files
  /// and folders get exactly the given permission bits; the mask of the process has no effect and
  /// does not change. The result is the created object itself: when another process replaces a new
  /// folder before it is opened, that is `exists` too.
  virtual PosixResult<OpenFile> createFile(FileAt object, std::uint32_t permissions) = 0;
  virtual PosixResult<Folder> createFolder(FileAt object, std::uint32_t permissions) = 0;
  virtual PosixCode createLink(FileAt object, const std::string& target) = 0;
  virtual PosixCode createHardLink(FileAt object, FileAt existing) = 0;
  /// A FIFO, socket or device like `model`, with permissions for its owner alone.
  virtual PosixCode createSpecialFile(FileAt object, const HeldObject& model) = 0;

  /// Gives an object another name on its file system. A name that is taken is `exists`.
  virtual PosixCode rename(FileAt object, FileAt newObject) = 0;
  /// The same, but atomically replaces an object that has the name.
  virtual PosixCode replace(FileAt object, FileAt replaced) = 0;

  /// Copies the contents of a regular file to an empty file and keeps holes. Other kinds of objects
  /// are `invalidArgument`. `tryAgain` when another process does not release its lease on the file
  /// in time.
  virtual PosixCode copyContents(const HeldObject& from, OpenFile& to, LeaseWait& leases) = 0;

  /// Returns when everything written to the folder's file system is safe from a loss of power.
  virtual PosixCode synchronize(const Folder& onFileSystem) = 0;

  /// Removes a folder (which must be empty) or anything else; the caller says which.
  virtual PosixCode removeFolder(FileAt object) = 0;
  virtual PosixCode removeFile(FileAt object) = 0;

  /// Gives the object the BSD flags `wanted` and follows no link. `seen` is its status, just read.
  /// Writes only flags that differ from `seen`, so that an object that replaced it meanwhile gets
  /// none of the others. A read-only file system refuses even when no flag differs, and so does an
  /// object with a flag of `refusingChanges`. Flags that the file system or the kind of object
  /// cannot have are `notSupported`. Never opens a device or a FIFO.
  virtual PosixCode setFlags(FileAt object, const FileStatus& seen, std::uint32_t wanted) = 0;

  /// The contents of a regular file of at most `limit` bytes; a larger one is `noSpace`, anything
  /// that is not a regular file `invalidArgument`. Never blocks on a FIFO.
  virtual PosixResult<Data> readFile(FileAt object, std::size_t limit) = 0;
};

}  // namespace qrt
