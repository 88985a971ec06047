#include "filesystem/objects/FileManagerError.h"

#include <cstdint>
#include <initializer_list>

namespace qrt {
namespace {

struct Row {
  PosixCode cause;
  std::int64_t code;
};

constexpr std::int64_t unknownReadError = 256;
constexpr std::initializer_list<Row> readErrors{
    {PosixCode::noEntry, 260},
    {PosixCode::notPermitted, 257},
    {PosixCode::permissionDenied, 257},
    {PosixCode::nameTooLong, 258},
};

constexpr std::int64_t unknownWriteError = 512;
constexpr std::initializer_list<Row> writeErrors{
    {PosixCode::noEntry, 4},
    {PosixCode::notPermitted, 513},
    {PosixCode::permissionDenied, 513},
    {PosixCode::exists, 516},
    {PosixCode::nameTooLong, 514},
    {PosixCode::noSpace, 640},
    {PosixCode::quotaExceeded, 640},
    {PosixCode::readOnlyFileSystem, 642},
};

Error cocoaError(std::initializer_list<Row> rows, std::int64_t code, PosixCode cause,
                 const std::string& path) {
  for (const auto& row : rows) {
    if (row.cause == cause) code = row.code;
  }
  return {std::string(cocoaErrorDomain),
          code,
          {{std::string(filePathErrorKey), path},
           {std::string(underlyingErrorKey), posixError(cause)}}};
}

}  // namespace

Error fileReadError(PosixCode cause, const std::string& path) {
  return cocoaError(readErrors, unknownReadError, cause, path);
}

Error fileWriteError(PosixCode cause, const std::string& path) {
  return cocoaError(writeErrors, unknownWriteError, cause, path);
}

Error fileWriteError(PosixCode cause, const std::string& path, const std::string& destination) {
  auto error = fileWriteError(cause, path);
  error.userInfo.emplace(destinationFilePathErrorKey, destination);
  return error;
}

}  // namespace qrt
