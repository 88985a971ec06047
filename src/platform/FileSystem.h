// The file system, object by object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileStatus.h"
#include "platform/Folder.h"

namespace qrt {

enum class Links { follow, stay };

/// An object by the folder that holds it, resolved once. The object itself need not exist.
struct Location {
  Folder parent;
  std::string name;

  FileAt at() const { return {parent, name.c_str()}; }
};

/// System calls on files, in contract numbers. Stateless and thread-safe.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  virtual PosixResult<FileStatus> status(FileAt object, Links links) = 0;

  /// Opens a folder for reading and as a base. With `Links::stay` a link is `notDirectory`.
  virtual PosixResult<Folder> openFolder(FileAt object, Links links) = 0;

  /// Splits a path at its last component and opens what stands before it, following links there.
  /// Trailing slashes do not count; "/" and paths that end in "." or ".." are named "." in themselves.
  virtual PosixResult<Location> locate(const std::string& path) = 0;

  /// Removes a folder (which must be empty) or anything else; the caller says which.
  virtual PosixCode removeFolder(FileAt object) = 0;
  virtual PosixCode removeFile(FileAt object) = 0;

  /// Gives the object the BSD flags `wanted`. `current` is its status as just read (of the target,
  /// when links are followed): flags that are already as wanted are not written, though a read-only
  /// file system still refuses.
  virtual PosixCode setFlags(FileAt object, Links links, const FileStatus& current,
                             std::uint32_t wanted) = 0;

  /// The contents of a regular file of at most `limit` bytes; a larger one is `noSpace`, anything
  /// that is not a regular file `invalidArgument`. Never blocks on a FIFO.
  virtual PosixResult<Data> readFile(FileAt object, std::size_t limit) = 0;
};

}  // namespace qrt
