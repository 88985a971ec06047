#include "filesystem/TreeCopy.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "filesystem/PathText.h"

namespace qrt {
namespace {

constexpr std::uint32_t ownerOnlyFile = 0600;
constexpr std::uint32_t ownerOnlyFolder = 0700;

/// In bytes. No system follows a longer path.
constexpr std::size_t longestPath = 4096;

/// Success as well when the file system of the copy does not know such a thing.
PosixCode ifSupported(PosixCode code) {
  return code == PosixCode::notSupported ? PosixCode::success : code;
}

/// The same for owners and permissions: of a new object, these are refused to its own maker only
/// where there are none.
PosixCode ifKept(PosixCode code) {
  return code == PosixCode::notPermitted ? PosixCode::success : ifSupported(code);
}

class Copy {
 public:
  Copy(const ItemContext& context, FileAt to) : context_(context), to_(to) {}

  std::optional<TreeFailure> copy(FileAt from) {
    const auto place = context_.files.status({to_.folder, "."}, Links::stay);
    if (!place) return TreeFailure{place.error(), {}};
    place_ = *place;
    auto code = copyItem(from, to_);
    while (code == PosixCode::success && !levels_.empty()) code = copyNext();
    if (code == PosixCode::success) return std::nullopt;
    return TreeFailure{code, path(std::string::npos)};
  }

 private:
  struct Level {
    Folder from;
    Folder to;
    FileStatus status;
    std::string name;
  };

  PosixCode copyNext() {
    auto& level = levels_.back();
    name_.clear();
    const auto entry = level.from.next();
    if (!entry) return entry.error();
    if (!*entry) return leave();
    const auto* name = (*entry)->name;
    name_ = name;
    return copyItem({level.from, name}, {level.to, name});
  }

  /// Everything is taken from one hold: of an object that comes in the place of another meanwhile,
  /// nothing gets into the other's copy.
  PosixCode copyItem(FileAt from, FileAt to) {
    const auto source = context_.files.hold(from, Links::stay);
    if (!source) return source.error();
    const auto status = source->status();
    if (!status) return status.error();
    if (isOtherVolume(*status)) return PosixCode::busy;
    if (status->isFolder()) return enter(*source, to, *status);

    if (status->linkCount > 1 && linkToCopy(*status, to)) return PosixCode::success;
    const auto code = create(*source, to, status->type());
    return code == PosixCode::success ? copyAttributes(*source, to, *status) : code;
  }

  /// Where the system does not tell that a volume is mounted on a folder, its number does.
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
      const FileAt copied{levels_.front().to, first->second.c_str()};
      return context_.files.createHardLink(to, copied) == PosixCode::success;
    }
    auto own = path(longestPath);
    if (own.size() <= longestPath) linked_.emplace(key, std::move(own));
    return false;
  }

  /// Of the object being copied, from the top; of a path longer than `atMost` bytes little more
  /// than those. Whole paths are for errors alone: a tree can be so deep that one for each object
  /// or level would fill the memory.
  std::string path(std::size_t atMost) const {
    std::string path;
    const auto append = [&path](const std::string& name) {
      path = path.empty() ? name : appendingPathComponent(std::move(path), name);
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
      auto file = context_.files.createFile(to, ownerOnlyFile);
      return file ? context_.files.copyContents(from, *file) : file.error();
    }
    if (type == file_type::link) {
      const auto target = context_.files.linkTarget(from);
      return target ? context_.files.createLink(to, *target) : target.error();
    }
    return context_.files.createSpecialFile(to, from);
  }

  PosixCode enter(const HeldObject& from, FileAt to, const FileStatus& status) {
    if (isPlaceOfCopy(status)) return refuseTop(PosixCode::invalidArgument);
    auto source = context_.files.openFolder(from);
    if (!source) return source.error();
    auto folder = context_.files.createFolder(to, ownerOnlyFolder);
    if (!folder) return folder.error();
    levels_.push_back({std::move(*source), std::move(*folder), status, std::move(name_)});
    return PosixCode::success;
  }

  bool isPlaceOfCopy(const FileStatus& folder) const {
    return folder.device == place_.device && folder.inode == place_.inode;
  }

  /// It is the whole that cannot be copied, whatever part of it was come upon.
  PosixCode refuseTop(PosixCode code) {
    levels_.clear();
    name_.clear();
    return code;
  }

  /// A folder's attributes come last: its times change with its contents, and a flag would forbid
  /// them.
  PosixCode leave() {
    auto level = std::move(levels_.back());
    levels_.pop_back();
    name_ = std::move(level.name);
    const auto source = context_.files.hold({level.from, "."}, Links::stay);
    if (!source) return source.error();
    return copyAttributes(*source, {level.to, "."}, level.status);
  }

  /// The owner comes first: a change of it takes away permission bits and privileges.
  PosixCode copyAttributes(const HeldObject& from, FileAt to, const FileStatus& status) {
    auto& files = context_.files;
    auto code = ifKept(files.setOwner(to, Links::stay, status.userID, status.groupID));
    if (code == PosixCode::success) code = copyExtendedAttributes(from, to);
    if (code == PosixCode::success) code = ifKept(copyRights(from, to));
    if (code == PosixCode::success) code = files.copyTimes(from, to);
    if (code == PosixCode::success) code = files.copyCreationTime(from, to);
    if (code == PosixCode::success) code = setFlags(to, status);
    return code;
  }

  PosixCode copyRights(const HeldObject& from, FileAt to) {
    const auto rights = context_.accessControl.rights(from);
    if (!rights) return rights.error();
    const auto copy = context_.files.hold(to, Links::stay);
    return copy ? context_.accessControl.setRights(*copy, *rights) : copy.error();
  }

  PosixCode copyExtendedAttributes(const HeldObject& from, FileAt to) {
    const auto names = context_.attributes.names(from, Compression::hidden);
    if (!names) return ifSupported(names.error());
    for (const auto& name : *names) {
      const auto value = context_.attributes.value(from, name);
      if (!value && value.error() == PosixCode::noAttribute) continue;
      const auto code =
          value ? context_.attributes.set(to, Links::stay, name, *value) : value.error();
      if (ifSupported(code) != PosixCode::success) return code;
    }
    return PosixCode::success;
  }

  PosixCode setFlags(FileAt to, const FileStatus& status) {
    if (status.flags == 0) return PosixCode::success;
    auto current = status;
    current.flags = 0;
    return ifSupported(context_.files.setFlags(to, Links::stay, current, status.flags));
  }

  const ItemContext& context_;
  const FileAt to_;
  /// The folder that the copy is made in.
  FileStatus place_;
  std::vector<Level> levels_;
  /// Where the first name of each object with several was copied to.
  std::map<std::pair<std::uint64_t, std::uint64_t>, std::string> linked_;
  /// Of the object being copied, in the last level. Empty for that level itself.
  std::string name_;
};

}  // namespace

std::optional<TreeFailure> copyTree(const ItemContext& context, FileAt from, FileAt to) {
  return Copy(context, to).copy(from);
}

}  // namespace qrt
