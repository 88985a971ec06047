#include "filesystem/walk/HierarchyTotals.h"

#include <array>

#include "filesystem/walk/QRTDirectoryEnumerator.h"
#include "filesystem/walk/TreeWalk.h"
#include "filesystem/walk/WalkScope.h"

namespace qrt {
namespace {

/// A sum that each worker of a walk keeps its part of.
class Total {
 public:
  void add(const TreeObject& object, std::uint64_t value) {
    parts_[object.worker()].value += value;
  }
  std::uint64_t value() const { return parts_[0].value + parts_[1].value; }

 private:
  /// Apart from each other, or the workers' processors would fight for the same line of memory. Not
  /// by alignment, for which systems before macOS 10.14 have no allocator.
  struct Part {
    std::uint64_t value = 0;
    std::uint64_t distance[7] = {};
  };
  std::array<Part, 2> parts_;
};

class ObjectCount : public TreeVisitor {
 public:
  ObjectCount(Log& log, const WalkScope& scope) : log_(log), scope_(scope) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    total_.add(object, 1);
    return object.isFolder() && isEntered(object) ? Next::enter : Next::pass;
  }

  std::uint64_t value() const { return total_.value(); }

 private:
  bool isEntered(const TreeObject& folder) const {
    return QRTDirectoryEnumerator::isEntered(scope_, log_, folder.at(), folder.relativePath());
  }

  Log& log_;
  const WalkScope& scope_;
  Total total_;
};

class SizeSum : public TreeVisitor {
 public:
  explicit SizeSum(FileSystem& files) : files_(files) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    const auto status = files_.status(object.at(), Links::stay);
    if (status) total_.add(object, status->size);
    return Next::enter;
  }

  std::uint64_t value() const { return total_.value(); }

 private:
  FileSystem& files_;
  Total total_;
};

template <class Visitor>
PosixResult<std::uint64_t> totalOf(FileSystem& files, const std::string& path, Visitor visitor) {
  if (const auto failure = walkTree(files, path.c_str(), visitor)) return failure->code;
  return visitor.value();
}

}  // namespace

PosixResult<std::uint64_t> numberOfObjectsBelow(FileSystem& files, Log& log,
                                                const std::string& path, bool stayOnFileSystem) {
  WalkScope scope(files, path);
  if (stayOnFileSystem) scope.stayOnFileSystemOf(path.c_str());
  return totalOf(files, path, ObjectCount(log, scope));
}

PosixResult<std::uint64_t> storageSizeBelow(FileSystem& files, const std::string& path) {
  return totalOf(files, path, SizeSum(files));
}

}  // namespace qrt
