#include "client/cli/paths/DangerousPaths.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "client/cli/commandline/CallerPaths.h"
#include "platform/CallerProcess.h"
#include "platform/DiskDescription.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt {
namespace {

/// The objects that are looked for, by identity: a path can be written in many ways.
class Places {
 public:
  explicit Places(const WordContext& context) {
    if (auto root = context.platform.files.status("/", Links::follow)) root_.push_back(*root);
    for (const auto& folder : context.caller.homeFolders()) {
      auto home = context.platform.files.status(folder.c_str(), Links::follow);
      if (home) homes_.push_back(*home);
    }
  }

  bool isRoot(const FileStatus& object) const { return contains(root_, object); }
  bool isHome(const FileStatus& object) const { return contains(homes_, object); }
  bool isMountPoint(const FileStatus& object) const { return object.isMountRoot; }

 private:
  static bool contains(const std::vector<FileStatus>& places, const FileStatus& object) {
    return std::any_of(places.begin(), places.end(),
                       [&](const FileStatus& place) { return place.isSameObjectAs(object); });
  }

  std::vector<FileStatus> root_, homes_;
};

struct Danger {
  std::string_view option;
  std::string_view name;
  bool (Places::*isAt)(const FileStatus& object) const;
};

/// The root folder is a mount point, but its own option is enough.
constexpr Danger dangers[] = {
    {preserveRootOption, "the root folder", &Places::isRoot},
    {preserveHomeOption, "your home folder", &Places::isHome},
    {preserveMountsOption, "a mount point", &Places::isMountPoint},
};

bool isGiven(std::string_view option, const OperationArguments& operation,
             const GivenWords& words) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (operation.arguments.data()[i].name == option) return !words[i].empty();
  }
  return false;
}

const Danger* dangerOf(const FileStatus& object, const Places& places) {
  const auto* const found =
      std::find_if(std::begin(dangers), std::end(dangers),
                   [&](const Danger& danger) { return (places.*danger.isAt)(object); });
  return found == std::end(dangers) ? nullptr : found;
}

/// The same for an operation on a storage device.
std::optional<UsageError> mountedDevice(const OperationArguments& operation,
                                        const GivenWords& words, const WordContext& context) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (operation.arguments.data()[i].form != ArgumentForm::device) continue;
    const auto& name = words[i].front();
    const auto place = describeDisk(context.platform.root, name).mountPoint;
    if (place.empty() || isGiven(preserveMountsOption, operation, words)) return std::nullopt;
    return UsageError{fmt::format("'{}' or a part of it is mounted at {}; the option {} permits it",
                                  name, place, preserveMountsOption)};
  }
  return std::nullopt;
}

}  // namespace

std::optional<UsageError> dangerousPath(const OperationArguments& operation,
                                        const GivenWords& words, const WordContext& context) {
  // An operation with a list of paths deletes them or what is in them.
  if (!takesPathList(operation)) return mountedDevice(operation, words, context);
  const Places places(context);
  for (const auto& word : words.back()) {
    const auto path = absolutePath(word, context.caller);
    if (!path) return path.error();
    const auto object = context.platform.files.status(path->c_str(), Links::stay);
    const auto* const danger = object ? dangerOf(*object, places) : nullptr;
    if (!danger || isGiven(danger->option, operation, words)) continue;
    return UsageError{
        fmt::format("'{}' is {}; the option {} permits it", word, danger->name, danger->option)};
  }
  return std::nullopt;
}

}  // namespace qrt
