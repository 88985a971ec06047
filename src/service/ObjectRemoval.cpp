#include "service/ObjectRemoval.h"

#include "filesystem/walk/PathAsWritten.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"

namespace qrt {
namespace {

constexpr std::uint32_t userFlags = file_flag::userImmutable | file_flag::userAppendOnly;
constexpr std::uint32_t systemFlags = file_flag::systemImmutable | file_flag::systemAppendOnly;

PosixCode removeObject(FileSystem& files, FileAt object) {
  const auto status = files.status(object, Links::stay);
  if (!status) return status.error();
  const bool isOurs = status->type() != file_type::whiteout && (status->flags & systemFlags) == 0;
  if (!isOurs) return PosixCode::inputOutput;
  if ((status->flags & userFlags) != 0) {
    const auto code = files.setFlags(object, *status, status->flags & ~userFlags);
    if (code != PosixCode::success) return PosixCode::inputOutput;
  }
  return status->isFolder() ? files.removeFolder(object) : files.removeFile(object);
}

}  // namespace

Outcome enforceRemovalOfFileSystemObjectAtPath(FileSystem& files, const std::string& path) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto location = files.locate(path);
  if (!location) return posixError(location.error());
  const auto refusal = removalRefusal(files, *location, path);
  if (refusal != PosixCode::success) return posixError(refusal);
  return posixOutcome(removeObject(files, location->at()));
}

Outcome deleteFileSystemObjectsWithPaths(FileSystem& files, Log& log, const Array& paths) {
  Outcome lastFailure;
  for (const auto& element : paths) {
    const auto* path = element.string();
    if (!path) continue;
    log.info("Deleting file system object '%@'.", *path);
    if (auto failure = enforceRemovalOfFileSystemObjectAtPath(files, *path)) {
      lastFailure = std::move(failure);
    }
  }
  return lastFailure;
}

}  // namespace qrt
