// The arguments of a typed call as values of a request.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "base/Result.h"

namespace qrt {

/// Collects the values of one request in the order in which they are added.
class CallArguments {
 public:
  /// Relative paths are below `folder`: an absolute path, or empty when it is unknown.
  explicit CallArguments(std::string folder) : folder_(std::move(folder)) {}

  void add(PropertyValue value) { values_.push_back(std::move(value)); }
  /// Joins only: the daemon judges ".." and a slash at the end as they are written. An empty path
  /// stays empty.
  void addPath(const std::string& path) {
    const bool isRelative = !path.empty() && path.front() != '/';
    isLost_ = isLost_ || (isRelative && folder_.empty());
    add(isRelative ? folder_ + (folder_.ends_with('/') ? "" : "/") + path : path);
  }
  void addPaths(const std::vector<std::string>& paths) {
    for (const auto& path : paths) addPath(path);
  }
  void addTexts(const std::vector<std::string>& texts) {
    for (const auto& text : texts) add(text);
  }
  void addTagged(const char* tag, const std::vector<std::string>& texts) {
    for (const auto& text : texts) {
      add(tag);
      add(text);
    }
  }
  void addTextFlag(bool isSet) { add(isSet ? "1" : "0"); }
  template <class Choice>
  void addSum(const std::vector<Choice>& choices) {
    std::int64_t sum = 0;
    for (const auto choice : choices) sum |= static_cast<std::int64_t>(choice);
    add(sum);
  }

  /// POSIX error 2 when a relative path was added and the folder is unknown.
  Result<Array> take() && {
    if (isLost_) return posixError(PosixCode::noEntry);
    return std::move(values_);
  }

 private:
  std::string folder_;
  Array values_;
  bool isLost_ = false;
};

}  // namespace qrt
