#include "software/FileQueries.h"

#include "base/Text.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/PropertyLists.h"

namespace qrt {
namespace {

/// A name from a property list may hold anything.
bool canBePath(const std::string& text) { return !holdsZeroByte(text); }

std::optional<FileStatus> statusOf(FileSystem& files, const std::string& path) {
  if (!canBePath(path)) return std::nullopt;
  const auto status = files.status(path.c_str(), Links::follow);
  if (!status) return std::nullopt;
  return *status;
}

}  // namespace

FileQueries::FileQueries(const Platform& platform) : files_(platform.files) {}

bool FileQueries::exists(const std::string& path) const {
  return statusOf(files_, path).has_value();
}

bool FileQueries::isFile(const std::string& path) const {
  const auto status = statusOf(files_, path);
  return status && !status->isFolder();
}

std::vector<std::string> FileQueries::namesIn(const std::string& folder) const {
  if (!canBePath(folder)) return {};
  auto opened = files_.openFolder(folder.c_str(), Links::follow);
  std::vector<std::string> names;
  while (opened) {
    const auto entry = opened->next();
    if (!entry) return {};
    if (!*entry) break;
    names.emplace_back((*entry)->name);
  }
  return names;
}

std::optional<Dictionary> FileQueries::dictionaryAt(const std::string& path) const {
  if (!canBePath(path)) return std::nullopt;
  const auto contents = files_.readFile(path.c_str(), maximumPropertyListBytes);
  if (!contents) return std::nullopt;
  const auto list = readPropertyList(*contents);
  const auto* dictionary = list ? list->dictionary() : nullptr;
  return dictionary ? std::optional(*dictionary) : std::nullopt;
}

}  // namespace qrt
