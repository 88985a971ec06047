// Which folders a walk of a hierarchy enters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "platform/Log.h"

namespace qrt {

/// Two limits keep a hostile hierarchy from leading a walk ever deeper. A walk may also stay on one
/// file system, and never enters the folder that lists every volume a second time.
///
/// Thread-safe once it is set up.
class WalkBounds {
 public:
  static constexpr std::size_t maximumPathLength = 1024;
  static constexpr std::size_t maximumLevels = 500;

  enum class Limit { none, pathLength, levels };

  /// The place of a folder in a walk. The default is the base.
  class Depth {
   public:
    /// The limit that keeps the walk out of the folder of that name in this one.
    Limit limitFor(std::string_view name) const {
      if (pathLength_ + 1 + name.size() > maximumPathLength) return Limit::pathLength;
      return levels_ == maximumLevels ? Limit::levels : Limit::none;
    }

    Depth below(std::string_view name) const {
      auto inner = *this;
      // One byte on purpose: a name of 255 bytes and its separator add nothing, and the paths below
      // such a folder lack its name.
      inner.pathLength_ += static_cast<std::uint8_t>(name.size() + (pathLength_ == 0 ? 0 : 1));
      ++inner.levels_;
      return inner;
    }

    /// How many folders the walk is in here, the base included.
    std::size_t levels() const { return levels_; }

    /// Turns the path of an earlier object of the walk into the path of an object in this folder.
    /// Both are relative to the base.
    void lead(std::string& path, const char* name) const {
      path.resize(pathLength_);
      if (!path.empty()) path += '/';
      path += name;
    }

   private:
    /// Bytes of the folder's path relative to the base, as the walk reports it.
    std::size_t pathLength_ = 0;
    std::size_t levels_ = 1;
  };

  /// `files` and `log` outlive the bounds. `basePath` is where the walk begins.
  WalkBounds(FileSystem& files, Log& log, std::string basePath);

  /// Leaves out everything on another file system than `base` itself. Changes nothing if the status
  /// of `base` cannot be read.
  void stayOnFileSystemOf(FileAt base);

  bool isOneFileSystem() const { return device_.has_value(); }

  /// Without the limits. `type` is the object's, or 0 if it is not known; `relativePath` is from
  /// the base.
  bool includesContentsOf(FileAt object, std::uint32_t type, std::string_view relativePath) const;

  /// Whether a walk enters the folder. Logs the limit that keeps it out.
  bool admits(FileAt folder, std::string_view relativePath) const;

  void log(Limit limit) const;

 private:
  bool isInVolumeNamespace(std::string_view relativePath) const;

  FileSystem& files_;
  Log& log_;
  std::string basePath_;
  std::optional<std::uint64_t> device_;
};

}  // namespace qrt
