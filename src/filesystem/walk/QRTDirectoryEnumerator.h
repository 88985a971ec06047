// A depth-first walk that hands out paths, bounded in depth and length.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "filesystem/walk/Branch.h"
#include "filesystem/walk/HierarchyCursor.h"
#include "filesystem/walk/WalkAhead.h"
#include "filesystem/walk/WalkScope.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"

namespace qrt {

/// Walks what is below a base folder, folders before their contents, in the order of the file
/// system. Links are handed out and never followed. The walk goes from open folder to open folder:
/// its paths say where things were found, and whoever acts on an object uses `object()`, which no
/// exchange of a folder can lead astray.
///
/// An unreadable folder is handed out and its contents are not; nobody is told. Only running out of
/// descriptors or memory ends the walk early, see `failure()`.
///
/// Belongs to one thread. Not restartable.
class QRTDirectoryEnumerator {
 public:
  /// Null for an empty path and for one that is not an existing folder (links followed); the latter
  /// is logged. `files` and `log` outlive the enumerator.
  static std::unique_ptr<QRTDirectoryEnumerator> enumeratorAtPath(FileSystem& files, Log& log,
                                                                  const std::string& path);
  static std::unique_ptr<QRTDirectoryEnumerator> enumeratorAtPath(FileSystem& files, Log& log,
                                                                  const std::string& path,
                                                                  bool stayOnFileSystem);

  /// The same for a folder that another walk has come upon: a link in its place is not followed.
  /// `path` is only told.
  static std::unique_ptr<QRTDirectoryEnumerator> enumeratorAtObject(FileSystem& files, Log& log,
                                                                    FileAt object,
                                                                    const std::string& path,
                                                                    bool stayOnFileSystem);

  /// Whether a walk with that scope enters a folder; logs a limit that keeps it out. For walks of
  /// another kind that keep to the same bounds. `relativePath` is the folder's.
  static bool isEntered(const WalkScope& scope, Log& log, FileAt folder,
                        std::string_view relativePath);

  QRTDirectoryEnumerator(const QRTDirectoryEnumerator&) = delete;
  QRTDirectoryEnumerator& operator=(const QRTDirectoryEnumerator&) = delete;

  /// Has statuses read ahead, for callers that ask for that of nearly every object.
  void expectStatuses() { ahead_.expectStatuses(); }

  /// The next path relative to the base, or none when the walk is over.
  std::optional<std::string> nextObject();

  /// The same for callers that look at the object where it is. False when the walk is over.
  bool advance();

  /// All remaining paths.
  std::vector<std::string> allObjects();

  /// Leaves the folder that the walk is in. Called right after a folder was handed out and entered,
  /// that skips its contents; called after anything else, it skips the rest of the folder that
  /// holds the object.
  void skipDescendents();

  bool shouldStayOnFileSystem() const { return scope_.isOneFileSystem(); }

  /// The object that the walk has come to. Good until it goes on or `skipDescendents()`; not to be
  /// asked before the first object nor after the last.
  FileAt object() const { return sighting_->object(); }

  /// Its own status, none if it cannot be read.
  std::optional<FileStatus> objectStatus() const;

  /// Its type bits (`file_type`), or 0 where the file system's listing does not tell.
  std::uint32_t objectType() const { return sighting_->type; }

  /// Whether it is a folder that the walk has entered and goes on in.
  bool isInsideObject() const { return levels_ > sighting_->depth.levels(); }

  /// Its path relative to the base.
  const std::string& objectPath() const { return *path_; }

  /// `success`, or why the walk ended before its end: descriptors or memory ran out. What was
  /// handed out is then incomplete, and the caller says so.
  PosixCode failure() const { return cursor_.failure(); }

 private:
  static constexpr std::string_view className = "QRTDirectoryEnumerator";

  QRTDirectoryEnumerator(FileSystem& files, Log& log, const std::string& basePath);
  bool initForBasePath(FileAt base, Links links, bool stayOnFileSystem);

  static void tellLimit(Log& log, WalkDepth::Limit limit);
  bool advanceInBranch();
  bool advanceCursor();
  void enterObject();

  FileSystem& files_;
  Log& log_;
  std::string basePath_;
  WalkScope scope_;
  HierarchyCursor cursor_{files_, scope_};
  WalkAhead ahead_{files_, scope_};
  /// What was listed before the walk came to it; the cursor stands behind it already.
  std::unique_ptr<Branch> branch_;
  std::string pathInBranch_;
  /// The object and its path.
  const Sighting* sighting_ = nullptr;
  const std::string* path_ = nullptr;
  /// How many folders the walk is in.
  std::size_t levels_ = 1;
};

}  // namespace qrt
