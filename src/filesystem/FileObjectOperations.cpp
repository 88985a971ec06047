#include "filesystem/FileObjectOperations.h"

#include <cstdint>

#include "filesystem/objects/AdvancedOpsAdditions.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/ItemMove.h"
#include "filesystem/walk/PathAsWritten.h"
#include "operations/PrivilegedOperationError.h"

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

std::uint32_t code(const PropertyValue& argument) {
  return static_cast<std::uint32_t>(argument.number()->asUInt64());
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

Outcome performOperationCreateFileobjectWithArguments(const ItemContext& context,
                                                      const Array& arguments) {
  return createFileSystemObjectAtPath(context.files, *arguments[0].string(),
                                      *arguments[1].string());
}

Outcome performOperationRenameFileobjectWithArguments(const ItemContext& context,
                                                      const Array& arguments) {
  return FileManager::moveItemAtPath(context, *arguments[0].string(), *arguments[1].string());
}

Outcome performOperationInspectFileobjectWithArguments(const ItemContext& context,
                                                       const Array& arguments) {
  const auto& path = *arguments[0].string();
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto status = FileManager::statusOfItemAtPath(context.files, path);
  if (!status && isExhaustion(status.error())) return posixError(status.error());
  auto existence = ObjectExistence::none;
  if (status) existence = status->isFolder() ? ObjectExistence::folder : ObjectExistence::other;
  return privilegedOperationAnswer({{"ObjectExistence", static_cast<std::int64_t>(existence)}});
}

Outcome performOperationTouchFileobjectWithArguments(const ItemContext& context,
                                                     const Array& arguments) {
  const auto& path = *arguments[0].string();
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  if (const auto code = slashRefusal(context.files, path); code != PosixCode::success) {
    return posixError(code);
  }
  const auto object = FileManager::holdItemAtPath(context.files, path, Links::follow);
  if (!object) {
    return posixError(FileManager::reasonAtPath(context.files, path, object.error()));
  }
  return posixOutcome(object->touch());
}

Outcome performOperationModifyProtectionWithArguments(const ItemContext& context,
                                                      const Array& arguments) {
  return AdvancedOpsAdditions::setUserImmutableAtPath(
      context.files, *arguments[0].string(), arguments[1].number()->asBool(),
      arguments[2].number()->asBool(), arguments[3].number()->asBool());
}

Outcome performOperationModifyHfsattrWithArguments(const ItemContext& context,
                                                   const Array& arguments) {
  return AdvancedOpsAdditions::setMacAttributesAtPath(context, *arguments[0].string(),
                                                      code(arguments[1]), code(arguments[2]),
                                                      arguments[3].number()->asBool());
}

Outcome performOperationCreateLinkWithArguments(const ItemContext& context,
                                                const Array& arguments) {
  return AdvancedOpsAdditions::createLinkAtPath(
      context, *arguments[0].string(), *arguments[1].string(), arguments[2].number()->asBool());
}

}  // namespace qrt::FileObjectOperations
