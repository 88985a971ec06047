#include "client/cli/commandline/AccessControlArgument.h"

#include <fmt/format.h>

#include <optional>

#include "platform/AccessControl.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt {
namespace {

using OptionalList = std::optional<AccessControlList>;

PosixResult<OptionalList> listOfObject(const std::string& path, const Platform& platform) {
  const auto object = platform.files.hold(path.c_str(), Links::follow);
  return object ? platform.accessControl.list(*object) : object.error();
}

UsageResult<OptionalList> listIn(const std::string& word, const Platform& platform) {
  if (word == "none") return OptionalList();
  if (word.starts_with('@')) {
    auto list = listOfObject(word.substr(1), platform);
    if (list) return std::move(*list);
    return UsageError{fmt::format("the list of {} cannot be read", word.substr(1))};
  }
  // A text without entries would remove the list, which only "none" asks for.
  const bool hasEntries = word.find(':') != std::string::npos;
  auto list = platform.accessControl.fromText(word);
  if (hasEntries && list) return std::move(*list);
  return UsageError{fmt::format("'{}' is not an access control list", word)};
}

}  // namespace

UsageResult<Data> accessControlListIn(const std::string& word, const Platform& platform) {
  const auto list = listIn(word, platform);
  if (!list) return list.error();
  auto externalForm = platform.accessControl.externalized(*list);
  if (externalForm) return std::move(*externalForm);
  return UsageError{fmt::format("'{}' cannot be sent", word)};
}

}  // namespace qrt
