#include "filesystem/objects/QRTFolderStashAdditions.h"

#include "base/Path.h"
#include "filesystem/objects/ExtendedAttributeAdditions.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/ItemMove.h"
#include "filesystem/objects/OwnedRights.h"

namespace qrt::QRTFolderStashAdditions {
namespace {

constexpr std::uint32_t ownerOnly = 0700;

/// Of an open folder: what is done through it reaches that very folder.
PosixResult<HeldObject> holdItself(FileSystem& files, const Folder& folder) {
  return files.hold({folder, "."}, Links::stay);
}

Result<FolderMetadata> metadataOf(const ItemContext& context, const Folder& folder,
                                  const std::string& path) {
  const auto held = holdItself(context.files, folder);
  if (!held) return posixError(held.error(), path);
  auto owned = ownedRights(context.accessControl, *held);
  if (!owned) return posixError(owned.error(), path);
  auto attributes = ExtendedAttributeAdditions::extendedAttributesForItem(context, *held);
  if (!attributes) return posixError(attributes.error(), path);
  return FolderMetadata{owned->status, std::move(owned->rights), std::move(*attributes)};
}

void enforceOwnerAndRights(const ItemContext& context, const FolderMetadata& saved,
                           const HeldObject& item) {
  const auto current = item.status();
  if (!current) return;
  if (!current->hasSameOwnerAs(saved.status)) {
    item.setOwner(saved.status.userID, saved.status.groupID);
  }
  context.accessControl.setRights(item, saved.rights);
}

void enforceFlags(const FileStatus& saved, const HeldObject& item) {
  const auto current = item.status();
  if (current && current->flags != saved.flags) item.setFlags(*current, saved.flags);
}

void enforceExtendedAttributes(const ItemContext& context, const Dictionary& saved,
                               const HeldObject& item) {
  auto& attributes = context.attributes;
  const auto current = ExtendedAttributeAdditions::extendedAttributesForItem(context, item);
  if (!current) return;
  for (const auto& [name, value] : saved) attributes.set(item, name, *value.data());
  for (const auto& [name, value] : *current) {
    if (!saved.contains(name)) attributes.remove(item, name, Compression::hidden);
  }
}

Outcome createSubstitute(const ItemContext& context, FileAt place, const std::string& path,
                         const FolderMetadata& metadata) {
  const auto substitute = context.files.createFolder(place, ownerOnly);
  if (!substitute) return fileWriteError(substitute.error(), path);
  enforceFolderMetadata(context, metadata, *substitute);
  return success;
}

}  // namespace

Outcome moveFolderAtPath(const ItemContext& context, const std::string& path,
                         const std::string& newName, bool creatingEmptySubstitute) {
  if (path.empty() || newName.empty()) return posixError(PosixCode::invalidArgument);
  auto& files = context.files;
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
  const auto metadata = metadataOf(context, *folder, path);
  if (!metadata) return metadata.error();

  auto error = FileManager::moveItem(context, location->at(), path, targetLocation->at(), target);
  if (error) return error;
  // To the folder that was looked at: its new name may lead to another by now. A copy, which a move
  // may have to make, has all of it already.
  enforceFolderMetadata(context, *metadata, *folder);
  if (!creatingEmptySubstitute) return success;
  return createSubstitute(context, location->at(), path, *metadata);
}

void enforceFolderMetadata(const ItemContext& context, const FolderMetadata& metadata,
                           const Folder& ifNecessaryIgnoringErrorsForItem) {
  const auto item = holdItself(context.files, ifNecessaryIgnoringErrorsForItem);
  if (!item) return;
  enforceOwnerAndRights(context, metadata, *item);
  enforceFlags(metadata.status, *item);
  enforceExtendedAttributes(context, metadata.extendedAttributes, *item);
}

Outcome performOperationRenameStashfolderWithArguments(const ItemContext& context,
                                                       const Array& arguments) {
  if (arguments.size() < 3) return posixError(PosixCode::invalidArgument);
  return moveFolderAtPath(context, *arguments[0].string(), *arguments[1].string(),
                          arguments[2].number()->asBool());
}

}  // namespace qrt::QRTFolderStashAdditions
