#include "filesystem/SystemFileOperations.h"

#include <string_view>
#include <utility>

#include "filesystem/FileManager.h"
#include "filesystem/FileManagerError.h"
#include "filesystem/FinderInfo.h"
#include "filesystem/ItemLinks.h"
#include "filesystem/ItemMove.h"
#include "filesystem/PathText.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/ReportedPath.h"

namespace qrt::SystemFileOperations {
namespace {

constexpr std::uint32_t ownerOnly = 0600;

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

/// What the new file takes over.
struct KeptAttributes {
  /// The old file, wherever it is.
  HeldObject file;
  FileStatus status;
  AccessRights rights;
  FinderInfo classic;
};

/// One replacement. The folder that holds file and backup is held open all the way.
class Replacement {
 public:
  Replacement(const ItemContext& context, const Location& file, std::string path)
      : context_(context),
        file_(file),
        path_(std::move(path)),
        backupName_(file.name + std::string(extension)),
        backupPath_(path_ + std::string(extension)) {}

  Outcome perform(const Data& content, bool removeBackup) {
    if (auto error = clearBackupPlace()) return error;
    auto kept = readAttributes();
    if (!kept) return kept.error();
    if (auto error = FileManager::moveItem(context_, file_.at(), path_, backup(), backupPath_)) {
      return protectedError(path_, std::move(*error));
    }
    auto file = context_.files.createFile(file_.at(), ownerOnly);
    if (!file) return fileWriteError(file.error(), path_);
    // Contents that could not be written are not told.
    bool isWritten = file->write(content) == PosixCode::success;
    const auto code = apply(*kept, *file);
    if (code != PosixCode::success) return fileWriteError(code, path_);
    if (removeBackup && isWritten && file->synchronize() == PosixCode::success) {
      context_.files.removeFile(backup());
    }
    return success;
  }

 private:
  static constexpr std::string_view extension = ".backup";

  FileAt backup() const { return {file_.parent, backupName_.c_str()}; }

  Outcome clearBackupPlace() {
    const auto status = context_.files.status(backup(), Links::follow);
    if (!status) return success;
    if (status->isFolder()) return backupBlockedError(backupPath_);
    return FileManager::removeItem(context_.files, backup(), backupPath_);
  }

  Result<KeptAttributes> readAttributes() {
    auto file = context_.files.hold(file_.at(), Links::stay);
    if (!file) return fileReadError(file.error(), path_);
    const auto status = file->status();
    if (!status) return fileReadError(status.error(), path_);
    const auto rights = context_.accessControl.rights(*file);
    if (!rights) return fileReadError(rights.error(), path_);
    auto classic = FinderInfo::read(context_, file_.at(), Links::stay);
    if (!classic) return fileReadError(classic.error(), path_);
    return KeptAttributes{std::move(*file), *status, *rights, std::move(*classic)};
  }

  PosixCode apply(const KeptAttributes& kept, OpenFile& file) {
    const auto& status = kept.status;
    auto code = file.setOwner(status.userID, status.groupID);
    if (code == PosixCode::success) code = applyRights(kept.rights, file);
    if (code == PosixCode::success && kept.classic.hasCodes()) code = applyCodes(kept.classic);
    if (code == PosixCode::success) code = context_.files.copyCreationTime(kept.file, file_.at());
    if (code == PosixCode::success && status.flags != 0) code = applyFlags(status);
    return code;
  }

  PosixCode applyRights(const AccessRights& rights, const OpenFile& file) {
    const auto object = file.hold();
    return object ? context_.accessControl.setRights(*object, rights) : object.error();
  }

  PosixCode applyCodes(const FinderInfo& kept) {
    FinderInfo info;
    info.setTypeCode(kept.typeCode());
    info.setCreatorCode(kept.creatorCode());
    return info.write(context_, file_.at(), Links::stay);
  }

  PosixCode applyFlags(const FileStatus& kept) {
    auto current = kept;
    current.flags = 0;
    return context_.files.setFlags(file_.at(), Links::stay, current, kept.flags);
  }

  const ItemContext& context_;
  const Location& file_;
  const std::string path_;
  const std::string backupName_;
  const std::string backupPath_;
};

/// The place of a path that has no links in it. One that was put there meanwhile is an error.
PosixResult<Location> locateWithoutLinks(FileSystem& files, const std::string& path) {
  auto folder = files.openFolder("/", Links::stay);
  std::string_view rest = path;
  rest.remove_prefix(1);
  for (auto slash = rest.find('/'); slash != std::string_view::npos; slash = rest.find('/')) {
    if (!folder) return folder.error();
    const std::string name(rest.substr(0, slash));
    auto inner = files.openFolder({*folder, name.c_str()}, Links::stay);
    folder = std::move(inner);
    rest.remove_prefix(slash + 1);
  }
  if (!folder) return folder.error();
  return Location{std::move(*folder), std::string(rest)};
}

}  // namespace

Outcome overwriteSystemFileAtPath(const ItemContext& context, const std::string& path,
                                  const Data* withContent, bool removeBackup) {
  if (withContent == nullptr || path.empty()) return posixError(PosixCode::invalidArgument);
  bool isFolder = false;
  if (!FileManager::fileExistsAtPath(context.files, path, &isFolder)) {
    return posixError(PosixCode::noEntry);
  }
  if (isFolder) return posixError(PosixCode::isDirectory);
  auto resolved = context.files.resolvedPath(path);
  if (!resolved) return posixError(resolved.error());
  const auto file = locateWithoutLinks(context.files, *resolved);
  if (!file) return posixError(file.error());
  return Replacement(context, *file, reportedPath(*resolved)).perform(*withContent, removeBackup);
}

Outcome performOperationModifySystemfileWithArguments(const ItemContext& context,
                                                      const Array& arguments) {
  return overwriteSystemFileAtPath(context, *arguments[0].string(), arguments[1].data(),
                                   arguments[2].number()->asBool());
}

}  // namespace qrt::SystemFileOperations
