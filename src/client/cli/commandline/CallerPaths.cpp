#include "client/cli/commandline/CallerPaths.h"

#include <fmt/format.h>

#include "platform/CallerProcess.h"
#include "platform/FileSystem.h"

namespace qrt {

UsageResult<std::string> absolutePath(const std::string& path, const CallerProcess& caller) {
  if (path.empty() || path.starts_with('/')) return path;
  auto folder = caller.currentFolder();
  if (!folder) {
    return UsageError{fmt::format("'{}' is relative, and there is no current folder", path)};
  }
  if (!folder->ends_with('/')) folder->push_back('/');
  return *folder + path;
}

UsageResult<std::string> wordForProgram(const std::string& word, const CallerProcess& caller,
                                        FileSystem& files) {
  const bool looksLikeRelativePath = !word.starts_with('/') && word.find('/') != std::string::npos;
  if (!looksLikeRelativePath) return word;
  const auto path = absolutePath(word, caller);
  if (!path || !files.status(path->c_str(), Links::stay)) return word;
  return UsageError{fmt::format(
      "'{}' is relative, and the utility runs in another folder; write '{}'", word, *path)};
}

}  // namespace qrt
