// The record of a file-system object that a client receives.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/PropertyValue.h"
#include "platform/FileSystem.h"
#include "protocol/FileObjectRecords.h"

namespace qrt {

/// The platform's name for the type bits of a mode.
std::string_view fileTypeName(std::uint32_t type);

/// The record of an object, with `path` as given. `status` is of the object itself, also when it is
/// a link.
FileObjectRecord fileObjectRecord(std::string_view path, const FileStatus& status);
/// The same as a value.
Dictionary fileObjectInfo(std::string_view path, const FileStatus& status);

/// Appends the record of the object at a path. Does nothing without an array, for an empty path,
/// and for an object whose status cannot be read. Thread-safe for different arrays.
void addFileSystemObjectInfoDictionaryToArray(FileSystem& files, Array* array,
                                              const std::string& ifPossibleForObjectAtPath);

/// The same for an object whose folder is open; `path` is only for the record.
void addFileSystemObjectInfoDictionaryToArray(FileSystem& files, Array* array, FileAt object,
                                              const std::string& path);

}  // namespace qrt
