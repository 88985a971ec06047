#include "filesystem/objects/FileObjectInfo.h"

#include "base/Text.h"

namespace qrt {
namespace {

struct TypeName {
  std::uint32_t type;
  std::string_view name;
};

constexpr TypeName typeNames[] = {
    {file_type::regular, "NSFileTypeRegular"},
    {file_type::folder, "NSFileTypeDirectory"},
    {file_type::link, "NSFileTypeSymbolicLink"},
    {file_type::socket, "NSFileTypeSocket"},
    {file_type::characterDevice, "NSFileTypeCharacterSpecial"},
    {file_type::blockDevice, "NSFileTypeBlockSpecial"},
};

}  // namespace

std::string_view fileTypeName(std::uint32_t type) {
  for (const auto& row : typeNames) {
    if (row.type == type) return row.name;
  }
  return "NSFileTypeUnknown";
}

FileObjectRecord fileObjectRecord(std::string_view path, const FileStatus& status) {
  return {path, fileTypeName(status.type()), status.size, status.modificationDate,
          status.permissions()};
}

Dictionary fileObjectInfo(std::string_view path, const FileStatus& status) {
  return dictionaryOf(fileObjectRecord(path, status));
}

void addFileSystemObjectInfoDictionaryToArray(FileSystem& files, Array* array,
                                              const std::string& ifPossibleForObjectAtPath) {
  const auto& path = ifPossibleForObjectAtPath;
  if (path.empty() || holdsZeroByte(path)) return;
  addFileSystemObjectInfoDictionaryToArray(files, array, path.c_str(), path);
}

void addFileSystemObjectInfoDictionaryToArray(FileSystem& files, Array* array, FileAt object,
                                              const std::string& path) {
  if (array == nullptr) return;
  const auto status = files.status(object, Links::stay);
  if (status) array->push_back(fileObjectInfo(path, *status));
}

}  // namespace qrt
