#include "client/cli/paths/PathsOnInput.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

namespace qrt {
namespace {

constexpr std::size_t longestPath = 64 << 10;
/// In bytes, with what each path takes in this process.
constexpr std::size_t largestList = std::size_t{1} << 30;

class PathList {
 public:
  /// Nothing while the bytes can be a list.
  std::optional<UsageError> add(std::string_view bytes) {
    for (auto end = bytes.find('\0'); end != bytes.npos; end = bytes.find('\0')) {
      if (auto error = extend(bytes.substr(0, end))) return error;
      if (auto error = endPath()) return error;
      bytes.remove_prefix(end + 1);
    }
    return extend(bytes);
  }

  UsageResult<std::vector<std::string>> finish() {
    if (!path_.empty()) {
      if (auto error = endPath()) return *error;
    }
    return std::move(paths_);
  }

 private:
  std::optional<UsageError> extend(std::string_view bytes) {
    if (path_.size() + bytes.size() > longestPath) {
      return UsageError{"Standard input is not a list of paths that zero bytes end"};
    }
    path_ += bytes;
    return std::nullopt;
  }

  std::optional<UsageError> endPath() {
    if (path_.empty()) return UsageError{"Standard input holds an empty path"};
    size_ += path_.size() + sizeof(std::string);
    if (size_ > largestList) return UsageError{"Standard input holds too many paths"};
    paths_.push_back(std::move(path_));
    path_.clear();
    return std::nullopt;
  }

  std::vector<std::string> paths_;
  std::string path_;
  std::size_t size_ = 0;
};

}  // namespace

UsageResult<std::vector<std::string>> pathsOnStandardInput() {
  PathList list;
  std::array<char, 64 << 10> buffer;
  std::size_t count;
  while ((count = std::fread(buffer.data(), 1, buffer.size(), stdin)) > 0) {
    if (auto error = list.add({buffer.data(), count})) return *error;
  }
  if (std::ferror(stdin) != 0) return UsageError{"Standard input cannot be read"};
  return list.finish();
}

}  // namespace qrt
