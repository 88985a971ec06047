#include "filesystem/walk/HierarchyTotals.h"

#include <array>

#include "filesystem/walk/TreeWalk.h"
#include "filesystem/walk/WalkBounds.h"
#include "filesystem/walk/Workers.h"

namespace qrt {
namespace {

/// A sum to which each worker of a walk adds in a part of its own.
class Total {
 public:
  void add(const TreeObject& object, std::uint64_t value) {
    parts_[object.worker()].value += value;
  }
  std::uint64_t value() const {
    std::uint64_t sum = 0;
    for (const auto& part : parts_) sum += part.value;
    return sum;
  }

 private:
  /// Padded, so that the workers' processors do not share a cache line. Alignment would need an
  /// allocator that systems before macOS 10.14 do not have.
  struct Part {
    std::uint64_t value = 0;
    std::uint64_t padding[7] = {};
  };
  std::array<Part, WorkerCount::maximum> parts_;
};

class ObjectCount : public TreeVisitor {
 public:
  explicit ObjectCount(const WalkBounds& bounds) : bounds_(bounds) {}

  std::size_t heldDescriptors() const override { return 0; }

  PosixResult<Next> visit(const TreeObject& object) override {
    total_.add(object, 1);
    const bool isEntered = object.isFolder() && bounds_.admits(object.at(), object.relativePath());
    return isEntered ? Next::enter : Next::pass;
  }

  std::uint64_t value() const { return total_.value(); }

 private:
  const WalkBounds& bounds_;
  Total total_;
};

class SizeSum : public TreeVisitor {
 public:
  explicit SizeSum(FileSystem& files) : files_(files) {}

  std::size_t heldDescriptors() const override { return 0; }

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
PosixResult<std::uint64_t> totalOf(const Platform& platform, const std::string& path,
                                   Visitor visitor) {
  if (const auto failure = walkTree(platform, path.c_str(), visitor)) return failure->code;
  return visitor.value();
}

}  // namespace

PosixResult<std::uint64_t> numberOfObjectsBelow(const Platform& platform, const std::string& path,
                                                bool stayOnFileSystem) {
  WalkBounds bounds(platform.files, platform.log, path);
  if (stayOnFileSystem) bounds.stayOnFileSystemOf(path.c_str());
  return totalOf(platform, path, ObjectCount(bounds));
}

PosixResult<std::uint64_t> storageSizeBelow(const Platform& platform, const std::string& path) {
  return totalOf(platform, path, SizeSum(platform.files));
}

}  // namespace qrt
