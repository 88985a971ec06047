#include "filesystem/objects/QRTFolderStashAdditions.h"

#include "base/Path.h"
#include "filesystem/objects/ExtendedAttributeAdditions.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/ItemMove.h"
#include "filesystem/objects/OwnedRights.h"
#include "operations/Arguments.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt::QRTFolderStashAdditions {
namespace {

constexpr std::uint32_t ownerOnly = 0700;

/// Of an open folder: what is done through it reaches that very folder.
PosixResult<HeldObject> holdItself(FileSystem& files, const Folder& folder) {
  return files.hold({folder, "."}, Links::stay);
}

Result<FolderMetadata> metadataOf(const Platform& platform, const Folder& folder,
                                  const std::string& path) {
  const auto held = holdItself(platform.files, folder);
  if (!held) return posixError(held.error(), path);
  auto owned = ownedRights(platform.accessControl, *held);
  if (!owned) return posixError(owned.error(), path);
  auto attributes = ExtendedAttributeAdditions::extendedAttributesForItem(platform, *held);
  if (!attributes) return posixError(attributes.error(), path);
  return FolderMetadata{owned->status, std::move(owned->rights), std::move(*attributes)};
}

void enforceOwnerAndRights(const Platform& platform, const FolderMetadata& saved,
                           const HeldObject& item) {
  const auto current = item.status();
  if (!current) return;
  if (!current->hasSameOwnerAs(saved.status)) {
    item.setOwner(saved.status.userID, saved.status.groupID);
  }
  platform.accessControl.setRights(item, saved.rights);
}

void enforceFlags(const FileStatus& saved, const HeldObject& item) {
  const auto current = item.status();
  if (current && current->flags != saved.flags) item.setFlags(*current, saved.flags);
}

void enforceExtendedAttributes(const Platform& platform, const Dictionary& saved,
                               const HeldObject& item) {
  auto& attributes = platform.extendedAttributes;
  const auto current = ExtendedAttributeAdditions::extendedAttributesForItem(platform, item);
  if (!current) return;
  for (const auto& [name, value] : saved) attributes.set(item, name, *value.data());
  for (const auto& [name, value] : *current) {
    if (!saved.contains(name)) attributes.remove(item, name, Compression::hidden);
  }
}

Outcome createSubstitute(const Platform& platform, FileAt place, const std::string& path,
                         const FolderMetadata& metadata) {
  const auto substitute = platform.files.createFolder(place, ownerOnly);
  if (!substitute) return fileWriteError(substitute.error(), path);
  enforceFolderMetadata(platform, metadata, *substitute);
  return success;
}

}  // namespace

Outcome moveFolderAtPath(const Platform& platform, const std::string& path,
                         const std::string& newName, bool creatingEmptySubstitute) {
  if (path.empty() || newName.empty()) return posixError(PosixCode::invalidArgument);
  auto& files = platform.files;
  bool isFolder = false;
  if (!FileManager::fileExistsAtPath(files, path, &isFolder) || !isFolder) {
    return posixError(PosixCode::notDirectory, path);
  }
  const auto target = path::appending(path::withoutLastComponent(path), newName);
  if (FileManager::fileExistsAtPath(files, target)) return posixError(PosixCode::exists, target);

  const auto location = files.locate(path);
  if (!location) return posixError(location.error(), path);
  const auto targetLocation = files.locate(target);
  if (!targetLocation) return fileWriteError(targetLocation.error(), path, target);
  const auto folder = files.openFolder(location->at(), Links::follow);
  if (!folder) return posixError(folder.error(), path);
  const auto metadata = metadataOf(platform, *folder, path);
  if (!metadata) return metadata.error();

  auto error = FileManager::moveItem(platform, location->at(), path, targetLocation->at(), target);
  if (error) return error;
  // To the folder that was looked at: its new name may lead to another by now. A copy, which a move
  // may have to make, has all of it already.
  enforceFolderMetadata(platform, *metadata, *folder);
  if (!creatingEmptySubstitute) return success;
  return createSubstitute(platform, location->at(), path, *metadata);
}

void enforceFolderMetadata(const Platform& platform, const FolderMetadata& metadata,
                           const Folder& ifNecessaryIgnoringErrorsForItem) {
  const auto item = holdItself(platform.files, ifNecessaryIgnoringErrorsForItem);
  if (!item) return;
  enforceOwnerAndRights(platform, metadata, *item);
  enforceFlags(metadata.status, *item);
  enforceExtendedAttributes(platform, metadata.extendedAttributes, *item);
}

Outcome performOperationRenameStashfolderWithArguments(const Platform& platform,
                                                       const Array& arguments,
                                                       FeedbackConnection*) {
  if (arguments.size() < 3) return posixError(PosixCode::invalidArgument);
  const auto [path, newName, creatingEmptySubstitute] =
      unpack<std::string, std::string, bool>(arguments);
  return moveFolderAtPath(platform, path, newName, creatingEmptySubstitute);
}

}  // namespace qrt::QRTFolderStashAdditions
