#include "filesystem/SystemFileOperations.h"

#include <string_view>
#include <utility>

#include "base/Path.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/FinderInfo.h"
#include "filesystem/objects/OwnedRights.h"
#include "filesystem/objects/TemporaryName.h"
#include "operations/Arguments.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Platform.h"
#include "platform/ReportedPath.h"

namespace qrt::SystemFileOperations {
namespace {

constexpr std::uint32_t ownerOnly = 0600;
constexpr std::uint32_t root = 0;

Error backupBlockedError(const std::string& backupPath) {
  constexpr std::int64_t code = 5;
  return withFilePath(
      privilegedOperationError(
          code, "The location for the backup file is blocked by a folder.",
          "If possible, please remove the folder currently present at the location '$1$'.",
          {backupPath}),
      backupPath);
}

Error protectedError(const std::string& path, Error cause) {
  constexpr std::int64_t code = 16;
  auto error = privilegedOperationError(
      code, "An object or its parent folder are explicitly protected against changes.",
      "The object has either been protected manually (not necessarily by permissions), or is "
      "located on a read-only volume. Please verify that the object at '$1$' and its parent folder "
      "can be modified.",
      {path});
  return withUnderlyingError(withFilePath(std::move(error), path), std::move(cause));
}

/// A file with one of these cannot be moved.
constexpr std::uint32_t fixingFlags = file_flag::userProtection | file_flag::systemProtection;

/// Whether a system reports this for a link that the file system cannot have.
bool meansNoLinks(PosixCode code) {
  return code == PosixCode::notPermitted || code == PosixCode::notSupported ||
         code == PosixCode::tooManyNames;
}

/// Whether a move of a file in a protected place would fail with this as well.
bool meansProtected(PosixCode code) {
  return code == PosixCode::notPermitted || code == PosixCode::permissionDenied ||
         code == PosixCode::readOnlyFileSystem;
}

/// What the new file takes over.
struct KeptAttributes {
  /// The old file, wherever it is.
  HeldObject file;
  OwnedRights owned;
  FinderInfo classic;
};

/// The new file until it gets its name. Removed at the end unless it got one.
class TemporaryFile {
 public:
  static PosixResult<TemporaryFile> create(FileSystem& files, const Folder& folder,
                                           std::string name) {
    auto file = files.createFile({folder, name.c_str()}, ownerOnly);
    if (!file) return file.error();
    return TemporaryFile(files, folder, std::move(name), std::move(*file));
  }

  TemporaryFile(TemporaryFile&& other) noexcept
      : files_(other.files_),
        folder_(other.folder_),
        name_(std::exchange(other.name_, {})),
        file_(std::move(other.file_)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!name_.empty()) files_.removeFile(at());
  }

  OpenFile& file() { return file_; }

  PosixCode replace(FileAt replaced) {
    const auto code = files_.replace(at(), replaced);
    if (code == PosixCode::success) name_.clear();
    return code;
  }

 private:
  TemporaryFile(FileSystem& files, const Folder& folder, std::string name, OpenFile file)
      : files_(files), folder_(folder), name_(std::move(name)), file_(std::move(file)) {}

  FileAt at() const { return {folder_, name_.c_str()}; }

  FileSystem& files_;
  const Folder& folder_;
  /// Empty when the file has another name or belongs to another owner of this type.
  std::string name_;
  OpenFile file_;
};

/// One replacement. The folder of file and backup stays open from beginning to end.
class Replacement {
 public:
  Replacement(const Platform& platform, const Location& file, std::string path)
      : platform_(platform),
        file_(file),
        path_(std::move(path)),
        backupName_(file.name + std::string(extension)),
        backupPath_(path_ + std::string(extension)),
        temporaryName_("." + file.name.substr(0, longestNamePart) + ".new-") {}

  /// `old` is what was found at the path.
  Outcome perform(HeldObject old, const Data& content, bool removeBackup) {
    if (isBackupBlocked()) return backupBlockedError(backupPath_);
    const auto kept = attributesOf(std::move(old));
    if (!kept) return kept.error();
    if ((kept->owned.status.flags & fixingFlags) != 0) return notMoved(PosixCode::notPermitted);

    removeLeftovers(kept->owned.status.userID);
    auto temporary = TemporaryFile::create(platform_.files, file_.parent, temporaryName_.make());
    if (!temporary) return notCreated(temporary.error());
    if (temporary->file().write(content) != PosixCode::success) return keepOld();
    const auto code = apply(*kept, temporary->file());
    if (code != PosixCode::success) return fileWriteError(code, path_);
    if (temporary->file().synchronize() != PosixCode::success) return keepOld();
    if (auto error = putInPlace(*temporary, kept->owned.status)) return error;
    if (removeBackup) platform_.files.removeFile(backup());
    return success;
  }

 private:
  static constexpr std::string_view extension = ".backup";
  /// Keeps the temporary name within the limits of simple file systems.
  static constexpr std::size_t longestNamePart = 100;

  FileAt backup() const { return {file_.parent, backupName_.c_str()}; }

  Error notMoved(PosixCode code) const {
    return protectedError(path_, fileWriteError(code, path_, backupPath_));
  }

  Error notCreated(PosixCode code) const {
    return meansProtected(code) ? notMoved(code) : fileWriteError(code, path_);
  }

  bool isBackupBlocked() const {
    const auto status = platform_.files.status(backup(), Links::follow);
    return status && status->isFolder();
  }

  Outcome clearBackupPlace() {
    if (isBackupBlocked()) return backupBlockedError(backupPath_);
    const auto status = platform_.files.status(backup(), Links::stay);
    if (!status && status.error() == PosixCode::noEntry) return success;
    return FileManager::removeItem(platform_, backup(), *status, backupPath_);
  }

  /// What a killed run may have left: a file of root's, or of the owner of the old file once it was
  /// given to that user. A live run on the same file fails then, as two at once would anyway.
  void removeLeftovers(std::uint32_t owner) {
    auto& files = platform_.files;
    auto folder = files.openFolder({file_.parent, "."}, Links::stay);
    if (!folder) return;
    for (auto entry = folder->next(); entry && *entry; entry = folder->next()) {
      const FileAt object{*folder, (*entry)->name};
      if (!temporaryName_.matches(object.name)) continue;
      const auto status = files.status(object, Links::stay);
      const bool isLeftover = status && status->type() == file_type::regular &&
                              (status->userID == root || status->userID == owner) &&
                              status->linkCount == 1;
      if (isLeftover) files.removeFile(object);
    }
  }

  Result<KeptAttributes> attributesOf(HeldObject file) {
    auto owned = ownedRights(platform_.accessControl, file);
    if (!owned) return fileReadError(owned.error(), path_);
    auto classic = FinderInfo::read(platform_.extendedAttributes, file);
    if (!classic) return fileReadError(classic.error(), path_);
    return KeptAttributes{std::move(file), std::move(*owned), classic->withoutPlaceAndLook()};
  }

  PosixCode apply(const KeptAttributes& kept, const OpenFile& newFile) {
    const auto file = newFile.hold();
    if (!file) return file.error();
    const auto& status = kept.owned.status;
    auto code = file->setOwner(status.userID, status.groupID);
    if (code == PosixCode::success) {
      code = platform_.accessControl.setRights(*file, kept.owned.rights);
    }
    if (code == PosixCode::success && !kept.classic.isEmpty()) {
      code = kept.classic.write(platform_.extendedAttributes, *file);
    }
    if (code == PosixCode::success) code = file->setCreationTimeOf(kept.file);
    if (code == PosixCode::success && status.flags != 0) {
      const auto own = file->status();
      code = own ? file->setFlags(*own, status.flags) : own.error();
    }
    return code;
  }

  /// A failed write is not reported. The old file then has both names.
  Outcome keepOld() {
    if (auto error = clearBackupPlace()) return error;
    platform_.files.createHardLink(backup(), file_.at());
    return success;
  }

  /// The path leads to the old file and then to the new one, without a gap if there are links.
  Outcome putInPlace(TemporaryFile& newFile, const FileStatus& old) {
    auto& files = platform_.files;
    if (auto error = clearBackupPlace()) return error;
    const auto now = files.status(file_.at(), Links::stay);
    if (!now || !now->isSameObjectAs(old)) return notMoved(PosixCode::noEntry);
    auto code = files.createHardLink(backup(), file_.at());
    const bool isMoved = meansNoLinks(code);
    if (isMoved) code = files.rename(file_.at(), backup());
    if (code != PosixCode::success) return notMoved(code);

    code = newFile.replace(file_.at());
    if (code == PosixCode::success) return success;
    isMoved ? files.rename(backup(), file_.at()) : files.removeFile(backup());
    return fileWriteError(code, path_);
  }

  const Platform& platform_;
  const Location& file_;
  const std::string path_;
  const std::string backupName_;
  const std::string backupPath_;
  const TemporaryName temporaryName_;
};

/// The place of a path without links. A link that was put there in the meantime is an error.
PosixResult<Location> locateWithoutLinks(FileSystem& files, const std::string& path) {
  auto folder = files.openFolder("/", Links::stay);
  std::string_view rest = path;
  rest.remove_prefix(1);
  std::string name(path::takeFirstComponent(rest));
  while (folder && !rest.empty()) {
    auto inner = files.openFolder({*folder, name.c_str()}, Links::stay);
    folder = std::move(inner);
    name = path::takeFirstComponent(rest);
  }
  if (!folder) return folder.error();
  return Location{std::move(*folder), std::move(name)};
}

}  // namespace

Outcome overwriteSystemFileAtPath(const Platform& platform, const std::string& path,
                                  const Data* withContent, bool removeBackup) {
  if (withContent == nullptr || path.empty()) return posixError(PosixCode::invalidArgument);
  auto& files = platform.files;
  const auto notFound = [&](PosixCode code) {
    return posixError(FileManager::reasonAtPath(files, path, code));
  };
  auto resolved = files.resolvedPath(path);
  if (!resolved) return notFound(resolved.error());
  const auto file = locateWithoutLinks(files, *resolved);
  if (!file) return posixError(file.error());
  if (file->name.empty()) return posixError(PosixCode::isDirectory);
  auto old = files.hold(file->at(), Links::stay);
  const auto status = old ? old->status() : old.error();
  if (!status) return notFound(status.error());
  if (status->isFolder()) return posixError(PosixCode::isDirectory);
  Replacement replacement(platform, *file, reportedPath(*resolved));
  return replacement.perform(std::move(*old), *withContent, removeBackup);
}

Outcome performOperationModifySystemfileWithArguments(const Platform& platform,
                                                      const Array& arguments, FeedbackConnection*) {
  const auto [path, content, removeBackup] = unpack<std::string, Data, bool>(arguments);
  return overwriteSystemFileAtPath(platform, path, &content, removeBackup);
}

}  // namespace qrt::SystemFileOperations
