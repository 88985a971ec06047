#include "filesystem/DeletionOperations.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/FolderEmptying.h"
#include "filesystem/objects/PathAsWritten.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "operations/ArgumentConverters.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Platform.h"
#include "protocol/FeedbackMessage.h"

namespace qrt::DeletionOperations {
namespace {

using QRTFileDeletionAdditions::Code;

struct Translation {
  Code code;
  std::int64_t privilegedOperationCode;
  std::string_view description;
  std::string_view suggestionTemplate;
};

constexpr std::array translations{
    Translation{
        Code::whiteout, 6, "It is not possible to delete a file system object of type 'whiteout'.",
        "Please check the type of the object located at '$1$'. Whiteouts cannot really exist "
        "in current versions of macOS."},
    Translation{Code::flagsNotChangeable, 7,
                "The operating system could not change protection flags.",
                "Please check if the file system storing the object '$1$' is working properly."},
    Translation{
        Code::systemFlags, 8, "Single User Mode is required to remove this object.",
        "The object located at '$1$' uses special protection which should only be deactivated "
        "when the system is not in full operation. Please restart the operating system in "
        "Single User Mode and remove the protection attribute."},
    Translation{
        Code::systemProtected, 17, "Your computer is protecting this file system object.",
        "The object at '$1$' cannot be modified because System Integrity Protection is active "
        "on this computer. It might be possible to deactivate this feature by changing a "
        "hardware setting via the recovery operating system. Please see the reference manual "
        "for more information."},
};

void sendProgress(FeedbackConnection* feedback, double fraction) {
  if (feedback == nullptr) return;
  feedback->processPrivilegedOperationFeedback(progressMessage(fraction));
}

double fraction(std::size_t part, std::size_t whole) {
  return static_cast<double>(part) / static_cast<double>(whole);
}

Outcome deleteContentsOfFolder(const Platform& platform, const std::string& path) {
  if (const auto code = slashRefusal(platform.files, path); code != PosixCode::success) {
    return posixError(code);
  }
  const auto folder = FileManager::openFolderAtPath(platform.files, path);
  if (!folder) {
    const auto reason = FileManager::reasonAtPath(platform.files, path, folder.error());
    if (reason == PosixCode::noEntry) return success;
    if (reason == PosixCode::notDirectory) return posixError(reason);
    return fileReadError(reason, path);
  }
  return privilegedOperationErrorForFileDeletionError(emptyFolder(platform, *folder, path));
}

}  // namespace

Outcome deleteFileSystemObjectsAtPaths(const Platform& platform,
                                       const std::vector<std::string>& paths, bool recursive,
                                       bool stopOnFirstError, FeedbackConnection* feedback) {
  Outcome lastError;
  std::size_t done = 0;
  for (const auto& path : paths) {
    if (platform.stop.isSet()) return posixError(PosixCode::canceled);
    auto error =
        QRTFileDeletionAdditions::enforceRemovalOfFileSystemObjectAtPath(platform, path, recursive);
    if (error) lastError = privilegedOperationErrorForFileDeletionError(std::move(error));
    if (lastError && stopOnFirstError) return lastError;
    sendProgress(feedback, fraction(++done, paths.size()));
  }
  sendProgress(feedback, 1.0);
  return lastError;
}

Outcome privilegedOperationErrorForFileDeletionError(Outcome error) {
  if (!error || error->domain != QRTFileDeletionAdditions::fileDeletionErrorDomain()) return error;
  const auto* path = stringIn(error->userInfo, filePathErrorKey);
  for (const auto& row : translations) {
    if (static_cast<std::int64_t>(row.code) != error->code) continue;
    auto translated =
        privilegedOperationError(row.privilegedOperationCode, row.description,
                                 row.suggestionTemplate, {path ? *path : std::string()});
    translated.userInfo.merge(error->userInfo);
    return translated;
  }
  return Error{std::string(privilegedOperationErrorDomain), 0, std::move(error->userInfo)};
}

Outcome performOperationDeleteFileobjectsWithArguments(const Platform& platform,
                                                       const Array& arguments,
                                                       FeedbackConnection* feedback) {
  constexpr std::size_t options = 2;
  auto strings = stringsIn(arguments);
  bool recursive = false;
  bool stopOnFirstError = false;
  const bool isValid = strings && strings->size() > options && getBool(&recursive, (*strings)[0]) &&
                       getBool(&stopOnFirstError, (*strings)[1]);
  if (!isValid) return posixError(PosixCode::invalidArgument);
  strings->erase(strings->begin(), strings->begin() + options);
  return deleteFileSystemObjectsAtPaths(platform, *strings, recursive, stopOnFirstError, feedback);
}

Outcome performOperationDeleteFoldercontentsWithArguments(const Platform& platform,
                                                          const Array& arguments,
                                                          FeedbackConnection* feedback) {
  const auto folders = stringsIn(arguments);
  if (!folders || folders->empty()) return posixError(PosixCode::invalidArgument);
  std::size_t done = 0;
  for (const auto& folder : *folders) {
    if (platform.stop.isSet()) return posixError(PosixCode::canceled);
    sendProgress(feedback, fraction(done++, folders->size()));
    if (auto error = deleteContentsOfFolder(platform, folder)) return error;
  }
  sendProgress(feedback, 1.0);
  return success;
}

}  // namespace qrt::DeletionOperations
