#include "service/ObjectRemoval.h"

#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace qrt {

Outcome enforceRemovalOfFileSystemObjectAtPath(const Platform& platform, const std::string& path) {
  using namespace QRTFileDeletionAdditions;
  auto error = enforceSingleRemovalOfFileSystemObjectAtPath(platform, path);
  if (!error || error->domain != fileDeletionErrorDomain()) return error;
  const bool isSystemProtected = error->code == static_cast<std::int64_t>(Code::systemProtected);
  return posixError(isSystemProtected ? PosixCode::notPermitted : PosixCode::inputOutput);
}

Outcome deleteFileSystemObjectsWithPaths(const Platform& platform, const Array& paths) {
  Outcome lastFailure;
  for (const auto& element : paths) {
    const auto* path = element.string();
    if (!path) continue;
    platform.log.info("Deleting file system object '%@'.", *path);
    if (auto failure = enforceRemovalOfFileSystemObjectAtPath(platform, *path)) {
      lastFailure = std::move(failure);
    }
  }
  return lastFailure;
}

}  // namespace qrt
