#include "filesystem/FileObjectOperations.h"

#include <cstdint>

#include "filesystem/objects/AdvancedOpsAdditions.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/ItemMove.h"
#include "filesystem/objects/PathAsWritten.h"
#include "operations/Arguments.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Platform.h"

namespace qrt::FileObjectOperations {
namespace {

constexpr std::uint32_t root = 0;

struct Creation {
  char typeCode;
  bool isFolder;
  std::uint32_t permissions;
};

constexpr Creation creations[] = {
    {'F', false, 0644},
    {'X', false, 0755},
    {'D', true, 0755},
};

const Creation* creationFor(const std::string& typeCode) {
  for (const auto& creation : creations) {
    if (typeCode.size() == 1 && typeCode[0] == creation.typeCode) return &creation;
  }
  return nullptr;
}

Error fileCreationError(const std::string& path) {
  constexpr std::int64_t code = 4;
  return withFilePath(
      privilegedOperationError(
          code, "It was not possible to create the specified file system object.",
          "Please verify that objects can be created at the location '$1$'.", {path}),
      path);
}

PosixResult<Folder> createFolder(FileSystem& files, const std::string& path,
                                 std::uint32_t permissions) {
  const auto location = files.locate(path);
  if (!location) return location.error();
  return files.createFolder(location->at(), permissions);
}

PosixResult<OpenFile> createFile(FileSystem& files, const std::string& path,
                                 std::uint32_t permissions) {
  const auto location = files.locate(path);
  if (!location) return location.error();
  if (location->meansFolder) return PosixCode::notDirectory;
  return files.createFile(location->at(), permissions);
}

}  // namespace

Outcome createFileSystemObjectAtPath(FileSystem& files, const std::string& path,
                                     const std::string& withTypeCode) {
  const auto* creation = creationFor(withTypeCode);
  if (path.empty() || creation == nullptr) return posixError(PosixCode::invalidArgument);
  if (FileManager::fileExistsAtPath(files, path)) return posixError(PosixCode::exists);
  if (creation->isFolder) {
    const auto folder = createFolder(files, path, creation->permissions);
    if (!folder) return fileWriteError(folder.error(), path);
    const auto made = files.hold({*folder, "."}, Links::stay);
    return posixOutcome(made ? made->setOwner(root, root) : made.error());
  }
  auto file = createFile(files, path, creation->permissions);
  if (!file) return fileCreationError(path);
  return posixOutcome(file->setOwner(root, root));
}

Outcome performOperationCreateFileobjectWithArguments(const Platform& platform,
                                                      const Array& arguments, FeedbackConnection*) {
  const auto [path, typeCode] = unpack<std::string, std::string>(arguments);
  return createFileSystemObjectAtPath(platform.files, path, typeCode);
}

Outcome performOperationRenameFileobjectWithArguments(const Platform& platform,
                                                      const Array& arguments, FeedbackConnection*) {
  const auto [path, newPath] = unpack<std::string, std::string>(arguments);
  return FileManager::moveItemAtPath(platform, path, newPath);
}

Outcome performOperationInspectFileobjectWithArguments(const Platform& platform,
                                                       const Array& arguments,
                                                       FeedbackConnection*) {
  const auto [path] = unpack<std::string>(arguments);
  if (path.empty()) return posixError(PosixCode::invalidArgument);

  const auto status = FileManager::statusOfItemAtPath(platform.files, path);
  if (!status && isExhaustion(status.error())) return posixError(status.error());
  auto existence = ObjectExistence::none;
  if (status) existence = status->isFolder() ? ObjectExistence::folder : ObjectExistence::other;
  return privilegedOperationAnswer({{"ObjectExistence", static_cast<std::int64_t>(existence)}});
}

Outcome performOperationTouchFileobjectWithArguments(const Platform& platform,
                                                     const Array& arguments, FeedbackConnection*) {
  const auto [path] = unpack<std::string>(arguments);
  if (path.empty()) return posixError(PosixCode::invalidArgument);

  if (const auto code = slashRefusal(platform.files, path); code != PosixCode::success) {
    return posixError(code);
  }
  const auto object = FileManager::holdItemAtPath(platform.files, path, Links::follow);
  if (!object) {
    return posixError(FileManager::reasonAtPath(platform.files, path, object.error()));
  }
  return posixOutcome(object->touch());
}

Outcome performOperationModifyProtectionWithArguments(const Platform& platform,
                                                      const Array& arguments, FeedbackConnection*) {
  const auto [path, isImmutable, recursive, stayOnFileSystem] =
      unpack<std::string, bool, bool, bool>(arguments);
  return AdvancedOpsAdditions::setUserImmutableAtPath(platform, path, isImmutable, recursive,
                                                      stayOnFileSystem);
}

Outcome performOperationModifyHfsattrWithArguments(const Platform& platform, const Array& arguments,
                                                   FeedbackConnection*) {
  const auto [path, typeCode, creatorCode, hidden] =
      unpack<std::string, std::uint32_t, std::uint32_t, bool>(arguments);
  return AdvancedOpsAdditions::setMacAttributesAtPath(platform, path, typeCode, creatorCode,
                                                      hidden);
}

Outcome performOperationCreateLinkWithArguments(const Platform& platform, const Array& arguments,
                                                FeedbackConnection*) {
  const auto [path, target, asHardLink] = unpack<std::string, std::string, bool>(arguments);
  return AdvancedOpsAdditions::createLinkAtPath(platform, path, target, asHardLink);
}

}  // namespace qrt::FileObjectOperations
