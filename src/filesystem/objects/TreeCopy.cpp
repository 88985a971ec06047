#include "filesystem/objects/TreeCopy.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Path.h"
#include "filesystem/objects/OwnedRights.h"
#include "filesystem/walk/ReopenableFolder.h"
#include "platform/ExtendedAttributes.h"

namespace qrt {
namespace {

constexpr std::uint32_t ownerOnlyFile = 0600;
constexpr std::uint32_t ownerOnlyFolder = 0700;

/// In bytes. No system follows a longer path.
constexpr std::size_t longestPath = 4096;

/// Of the levels of a copy, so many at its end are open, two folders each, and the top.
constexpr std::size_t openLevels = 16;

/// Success as well when the file system of the copy does not know such a thing.
PosixCode ifSupported(PosixCode code) {
  return code == PosixCode::notSupported ? PosixCode::success : code;
}

/// The same for owners and permissions. A system refuses these to the creator of a new object only
/// on file systems without them.
PosixCode ifKept(PosixCode code) {
  return code == PosixCode::notPermitted ? PosixCode::success : ifSupported(code);
}

/// True for attributes that only the system sets, or programs with a special right. A move leaves
/// them out.
bool isSystemsOwn(std::string_view name) {
  constexpr std::string_view securityModules = "security.";
  constexpr std::string_view names[] = {"com.apple.macl", "com.apple.rootless",
                                        "com.apple.provenance"};
  return name.starts_with(securityModules) ||
         std::find(std::begin(names), std::end(names), name) != std::end(names);
}

class Copy {
 public:
  /// Whether files become new ones or get another name.
  enum class Files { copied, linked };

  Copy(const Platform& platform, FileAt to, Files files)
      : platform_(platform), to_(to), filesAre_(files) {}

  std::optional<TreeFailure> copy(const HeldObject& from) {
    const auto place = platform_.files.status({to_.folder, "."}, Links::stay);
    if (!place) return TreeFailure{place.error(), {}};
    place_ = *place;
    const auto status = from.status();
    auto code = status ? copyObject(from, *status, to_) : status.error();
    while (code == PosixCode::success && !levels_.empty()) code = copyNext();
    if (code == PosixCode::success) code = setLateFlags();
    if (code == PosixCode::success) return std::nullopt;
    return TreeFailure{code, path(std::string::npos)};
  }

 private:
  struct Level {
    ReopenableFolder from;
    ReopenableFolder to;
    FileStatus status;
    std::string name;
  };

  /// Of an object with several: the path of its copy from the top, and the flags that it gets last.
  struct FirstName {
    std::string path;
    std::uint32_t flags;
  };

  PosixCode copyNext() {
    auto& level = levels_.back();
    name_.clear();
    const auto entry = level.from->next();
    if (!entry) return entry.error();
    if (!*entry) return leave();
    const auto* name = (*entry)->name;
    name_ = name;
    return copyItem({*level.from, name}, {*level.to, name});
  }

  PosixCode copyItem(FileAt from, FileAt to) {
    const auto source = platform_.files.hold(from, Links::stay);
    const auto status = source ? source->status() : source.error();
    if (!status) return status.error();
    const bool isLinked = filesAre_ == Files::linked && !status->isFolder() && !status->isLink();
    return isLinked ? platform_.files.createHardLink(to, from) : copyObject(*source, *status, to);
  }

  /// Everything is read from one hold, so nothing of an object that takes the place of this one
  /// gets into the copy.
  PosixCode copyObject(const HeldObject& from, const FileStatus& status, FileAt to) {
    if (isOtherVolume(status)) return PosixCode::busy;
    if (status.isFolder()) return enter(from, to, status);

    if (status.linkCount > 1 && linkToCopy(status, to)) return PosixCode::success;
    const auto code = create(from, to, status.type());
    return code == PosixCode::success ? copyAttributes(from, to, status) : code;
  }

  /// If the system does not report mount points, the number of the volume shows them.
  bool isOtherVolume(const FileStatus& status) const {
    if (levels_.empty()) return false;
    const auto own = levels_.front().status.device;
    return status.isMountRoot || (status.isFolder() && status.device != own);
  }

  /// False when the object has to be copied. That is noted where the copy can be found again.
  bool linkToCopy(const FileStatus& status, FileAt to) {
    const std::pair key(status.device, status.inode);
    if (const auto first = linked_.find(key); first != linked_.end()) {
      // Other names can only be met below a folder, so there is an open top.
      const FileAt copied{*levels_.front().to, first->second.path.c_str()};
      return platform_.files.createHardLink(to, copied) == PosixCode::success;
    }
    auto own = path(longestPath);
    if (own.size() <= longestPath) linked_.emplace(key, FirstName{std::move(own), 0});
    return false;
  }

  /// Of the object being copied, from the top; of a path longer than `atMost` bytes little more
  /// than those. Whole paths are for errors alone: a tree can be so deep that one for each object
  /// or level would fill the memory.
  std::string path(std::size_t atMost) const {
    std::string path;
    const auto append = [&path](const std::string& name) {
      path = path.empty() ? name : path::below(std::move(path), name);
    };
    for (const auto& level : levels_) {
      if (path.size() > atMost) return path;
      append(level.name);
    }
    append(name_);
    return path;
  }

  PosixCode create(const HeldObject& from, FileAt to, std::uint32_t type) {
    if (type == file_type::regular) {
      auto file = platform_.files.createFile(to, ownerOnlyFile);
      return file ? platform_.files.copyContents(from, *file, leases_) : file.error();
    }
    if (type == file_type::link) {
      const auto target = platform_.files.linkTarget(from);
      return target ? platform_.files.createLink(to, *target) : target.error();
    }
    return platform_.files.createSpecialFile(to, from);
  }

  PosixCode enter(const HeldObject& from, FileAt to, const FileStatus& status) {
    if (isPlaceOfCopy(status)) return refuseTop(PosixCode::invalidArgument);
    auto source = platform_.files.openFolder(from);
    if (!source) return source.error();
    auto folder = platform_.files.createFolder(to, ownerOnlyFolder);
    if (!folder) return folder.error();
    levels_.push_back({ReopenableFolder(std::move(*source)), ReopenableFolder(std::move(*folder)),
                       status, std::move(name_)});
    return closeDistantLevel();
  }

  /// The top stays open: what has several names is linked from there.
  PosixCode closeDistantLevel() {
    if (levels_.size() <= openLevels + 1) return PosixCode::success;
    auto& level = levels_[levels_.size() - openLevels - 1];
    if (!level.from.isOpen()) return PosixCode::success;
    const auto code = level.from.close();
    return code == PosixCode::success ? level.to.close() : code;
  }

  PosixCode openParentLevel() {
    if (levels_.size() < 2) return PosixCode::success;
    auto& parent = levels_[levels_.size() - 2];
    if (parent.from.isOpen()) return PosixCode::success;
    const auto& level = levels_.back();
    const auto code = parent.from.reopen(platform_.files, *level.from);
    return code == PosixCode::success ? parent.to.reopen(platform_.files, *level.to) : code;
  }

  bool isPlaceOfCopy(const FileStatus& folder) const {
    return folder.device == place_.device && folder.inode == place_.inode;
  }

  /// Reports the top of the copy, because no part of it can be copied.
  PosixCode refuseTop(PosixCode code) {
    levels_.clear();
    name_.clear();
    return code;
  }

  /// Sets a folder's attributes last: its times change with its contents, and a flag would forbid
  /// changes.
  PosixCode leave() {
    const auto code = openParentLevel();
    if (code != PosixCode::success) return code;
    auto level = std::move(levels_.back());
    levels_.pop_back();
    name_ = std::move(level.name);
    const auto source = platform_.files.hold({*level.from, "."}, Links::stay);
    if (!source) return source.error();
    return copyAttributes(*source, {*level.to, "."}, level.status);
  }

  /// Sets the owner first, because that clears permission bits and privileges. `seen` is the
  /// object's status from before its contents were copied.
  PosixCode copyAttributes(const HeldObject& from, FileAt to, const FileStatus& seen) {
    const auto copy = platform_.files.hold(to, Links::stay);
    if (!copy) return copy.error();
    auto owned = ownedRights(platform_.accessControl, from);
    if (!owned) return owned.error();
    // The contents may be those of the former owner.
    if (!owned->status.hasSameOwnerAs(seen)) owned->rights.permissions &= ~permission_bits::setID;
    const auto& status = owned->status;
    auto code = ifKept(copy->setOwner(status.userID, status.groupID));
    if (code == PosixCode::success) code = copyExtendedAttributes(from, *copy);
    if (code == PosixCode::success) {
      code = ifKept(platform_.accessControl.setRights(*copy, owned->rights));
    }
    if (code == PosixCode::success) code = copy->setTimesOf(from);
    if (code == PosixCode::success) code = copy->setCreationTimeOf(from);
    if (code == PosixCode::success && !getsFlagsLater(seen)) code = setFlags(*copy, seen.flags);
    return code;
  }

  /// A protected file cannot get another name. The flags of a file with several names are kept for
  /// the end.
  bool getsFlagsLater(const FileStatus& seen) {
    const auto first = linked_.find({seen.device, seen.inode});
    if (first == linked_.end() || first->second.path != path(longestPath)) return false;
    first->second.flags = seen.flags;
    return true;
  }

  /// No other user can change the copy before it is complete, so its paths lead to the copied
  /// files.
  PosixCode setLateFlags() {
    for (const auto& [key, first] : linked_) {
      if (first.flags == 0) continue;
      const auto path = path::below(to_.name, first.path);
      const auto copy = platform_.files.hold({to_.folder, path.c_str()}, Links::stay);
      const auto code = copy ? setFlags(*copy, first.flags) : copy.error();
      if (code == PosixCode::success) continue;
      name_ = first.path;
      return code;
    }
    return PosixCode::success;
  }

  PosixCode copyExtendedAttributes(const HeldObject& from, const HeldObject& to) {
    const auto names = platform_.extendedAttributes.names(from, Compression::hidden);
    if (!names) return ifSupported(names.error());
    for (const auto& name : *names) {
      const auto value = platform_.extendedAttributes.value(from, name);
      if (!value && value.error() == PosixCode::noAttribute) continue;
      const auto code = value ? platform_.extendedAttributes.set(to, name, *value) : value.error();
      const bool isKept = code == PosixCode::notPermitted && isSystemsOwn(name);
      if (!isKept && ifSupported(code) != PosixCode::success) return code;
    }
    return PosixCode::success;
  }

  static PosixCode setFlags(const HeldObject& copy, std::uint32_t flags) {
    if (flags == 0) return PosixCode::success;
    const auto status = copy.status();
    return status ? ifSupported(copy.setFlags(*status, flags)) : status.error();
  }

  const Platform& platform_;
  const FileAt to_;
  const Files filesAre_;
  /// The folder that the copy is made in.
  FileStatus place_;
  std::vector<Level> levels_;
  /// Where the first name of each object with several was copied to.
  std::map<std::pair<std::uint64_t, std::uint64_t>, FirstName> linked_;
  LeaseWait leases_;
  /// Of the object being copied, in the last level. Empty for that level itself.
  std::string name_;
};

}  // namespace

std::optional<TreeFailure> copyTree(const Platform& platform, const HeldObject& from, FileAt to) {
  return Copy(platform, to, Copy::Files::copied).copy(from);
}

std::optional<TreeFailure> linkFolder(const Platform& platform, const HeldObject& from, FileAt to) {
  return Copy(platform, to, Copy::Files::linked).copy(from);
}

}  // namespace qrt
