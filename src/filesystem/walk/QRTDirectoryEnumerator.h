// A depth-first walk that returns paths in order, bounded in depth and length.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "filesystem/walk/HierarchyCursor.h"
#include "filesystem/walk/Prefetch.h"
#include "filesystem/walk/WalkBounds.h"
#include "platform/Platform.h"

namespace qrt {

/// Walks what is below a base folder, folders before their contents, in the order of the file
/// system. Links are returned and never followed. The walk moves from open folder to open folder:
/// its paths say where objects were found. A caller that acts on an object uses `object()`, so that
/// an exchanged folder cannot lead it astray.
///
/// An unreadable folder is returned without its contents, and that is not an error. Only a request
/// to stop, or running out of descriptors or memory, ends the walk early, see `failure()`.
///
/// Belongs to one thread. Not restartable.
class QRTDirectoryEnumerator {
 public:
  /// Null for an empty path and for one that is not an existing folder (links followed); the latter
  /// is logged. The platform's facilities outlive the enumerator.
  static std::unique_ptr<QRTDirectoryEnumerator> enumeratorAtPath(const Platform& platform,
                                                                  const std::string& path);
  static std::unique_ptr<QRTDirectoryEnumerator> enumeratorAtPath(const Platform& platform,
                                                                  const std::string& path,
                                                                  bool stayOnFileSystem);

  /// The same for a folder that another walk has found: a link in its place is not followed.
  /// `path` is only for the log.
  static std::unique_ptr<QRTDirectoryEnumerator> enumeratorAtObject(const Platform& platform,
                                                                    FileAt object,
                                                                    const std::string& path,
                                                                    bool stayOnFileSystem);

  QRTDirectoryEnumerator(const QRTDirectoryEnumerator&) = delete;
  QRTDirectoryEnumerator& operator=(const QRTDirectoryEnumerator&) = delete;

  /// Reads statuses ahead, for callers that need the status of nearly every object.
  void expectStatuses() { prefetch_.expectStatuses(); }

  /// The next path relative to the base, or nothing at the end of the walk.
  std::optional<std::string> nextObject();

  /// The same for callers that use the object. False at the end of the walk.
  bool advance();

  /// All remaining paths.
  std::vector<std::string> allObjects();

  /// Leaves the folder that the walk is in. Right after a folder was returned and entered, this
  /// skips its contents; after any other object, it skips the rest of the folder that holds the
  /// object.
  void skipDescendents();

  bool shouldStayOnFileSystem() const { return bounds_.isOneFileSystem(); }

  /// The current object, which the functions below describe. Not to be called before the first
  /// object nor after the last. The answers are valid until the next move or `skipDescendents()`.
  const char* objectName() const { return entry_->name; }

  /// Only if it is a folder: the folders of other objects need not be open.
  FileAt folder() const { return entry_->object(); }

  /// Its own status; nothing if it cannot be read.
  std::optional<FileStatus> objectStatus();

  /// Whether it is a folder that the walk has entered, so that its contents come next.
  bool isInsideObject() const { return levels_ > entry_->depth.levels(); }

  /// Its path relative to the base.
  const std::string& objectPath() const { return *path_; }

  /// `success`, or the reason why the walk ended early: descriptors or memory ran out, or
  /// `canceled`. The objects returned are then incomplete, and the caller reports that.
  PosixCode failure() const {
    return failure_ != PosixCode::success ? failure_ : cursor_.failure();
  }

 private:
  static constexpr std::string_view className = "QRTDirectoryEnumerator";

  QRTDirectoryEnumerator(const Platform& platform, const std::string& basePath);
  bool initForBasePath(FileAt base, Links links, bool stayOnFileSystem);

  bool advanceInPrefetched();
  bool advanceCursor();
  void enterObject();
  PosixResult<FileStatus> readStatus();

  FileSystem& files_;
  Log& log_;
  const StopRequest& stop_;
  std::string basePath_;
  WalkBounds bounds_;
  HierarchyCursor cursor_{files_, bounds_};
  Prefetch prefetch_;
  /// The recording that the walk returns objects from; the cursor is already past its end.
  std::unique_ptr<PrefetchedFolder> prefetched_;
  std::string pathInPrefetched_;
  /// The object and its path.
  const WalkEntry* entry_ = nullptr;
  const std::string* path_ = nullptr;
  /// How many folders the walk is in.
  std::size_t levels_ = 1;
  PosixCode failure_ = PosixCode::success;
};

}  // namespace qrt
