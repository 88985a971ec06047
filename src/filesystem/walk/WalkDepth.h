// How far down a walk of a hierarchy may go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qrt {

/// The place of a folder in a walk. Two limits keep a hostile hierarchy from leading a walk ever
/// deeper. Begins at the base.
class WalkDepth {
 public:
  static constexpr std::size_t maximumPathLength = 1024;
  static constexpr std::size_t maximumLevels = 500;

  enum class Limit { none, pathLength, levels };

  /// What keeps the walk out of the folder of that name in this one.
  Limit limitFor(std::string_view name) const {
    if (pathLength_ + 1 + name.size() > maximumPathLength) return Limit::pathLength;
    return levels_ == maximumLevels ? Limit::levels : Limit::none;
  }

  /// What keeps a walk out of the folder with that path from the base.
  static Limit limitForPath(std::string_view relativePath) {
    WalkDepth depth;
    for (auto slash = relativePath.find('/'); slash != relativePath.npos;
         slash = relativePath.find('/')) {
      depth = depth.below(relativePath.substr(0, slash));
      relativePath.remove_prefix(slash + 1);
    }
    return depth.limitFor(relativePath);
  }

  WalkDepth below(std::string_view name) const {
    auto inner = *this;
    // One byte on purpose: a name of 255 bytes and its separator add nothing, and what is below
    // them is told as if it were one folder further up.
    inner.pathLength_ += static_cast<std::uint8_t>(name.size() + (pathLength_ == 0 ? 0 : 1));
    ++inner.levels_;
    return inner;
  }

  /// How many folders the walk is in here, the base included.
  std::size_t levels() const { return levels_; }

  /// Makes the path of an earlier object of the walk, relative to the base, that of an object in
  /// this folder.
  void lead(std::string& path, const char* name) const {
    path.resize(pathLength_);
    if (!path.empty()) path += '/';
    path += name;
  }

 private:
  /// Bytes of the folder's path relative to the base, as it is told.
  std::size_t pathLength_ = 0;
  std::size_t levels_ = 1;
};

}  // namespace qrt
