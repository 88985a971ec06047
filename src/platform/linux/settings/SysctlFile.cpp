#include "platform/linux/settings/SysctlFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "base/Text.h"
#include "platform/FileDescriptor.h"
#include "platform/linux/files/FileReplacement.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

constexpr std::size_t maximumBytes = 1 << 20;

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("/._-+@:").find(c) != std::string_view::npos;
}

bool isAbout(std::string_view line, std::string_view variable) {
  if (!line.starts_with(variable)) return false;
  line.remove_prefix(variable.size());
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  return line.starts_with('=');
}

/// Without the lines about the variable, every other one ended.
std::string without(std::string_view contents, std::string_view variable) {
  std::string kept;
  while (!contents.empty()) {
    const auto line = contents.substr(0, contents.find('\n'));
    if (!isAbout(line, variable)) kept.append(line).push_back('\n');
    contents.remove_prefix(std::min(line.size() + 1, contents.size()));
  }
  return kept;
}

}  // namespace

PosixCode SysctlFile::set(const std::string& variable, const std::string& value) {
  if (!std::all_of(variable.begin(), variable.end(), isPlain)) return PosixCode::invalidArgument;
  if (mkdir(folder_.c_str(), 0755) != 0 && errno != EEXIST) return lastError();
  const FileDescriptor folder(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return lastError();
  const auto before = readFile(folder.get(), name_.c_str(), maximumBytes);
  if (!before && before.error() != PosixCode::noEntry) return before.error();

  std::string contents;
  if (before) contents = without(asText(*before), variable);
  contents += variable + " = " + value + "\n";
  return replaceFile(folder.get(), name_, {asBytes(contents), 0644});
}

}  // namespace qrt
