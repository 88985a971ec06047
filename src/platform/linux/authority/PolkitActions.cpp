#include "platform/linux/authority/PolkitActions.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "base/Text.h"
#include "platform/PolkitAction.h"
#include "platform/linux/files/FileReplacement.h"
#include "platform/linux/files/OwnFolder.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

constexpr mode_t readableByAll = 0644;
constexpr std::size_t largestFile = 1 << 20;
constexpr std::string_view extension = ".policy";
constexpr std::string_view actionsFolder = "/usr/share/polkit-1/actions/";
constexpr std::string_view packagedName = "com.vantor.vk2.policy";

/// Whether polkit accepts the name for an action. No such name leads out of the folder.
bool isActionName(std::string_view right) {
  return !right.empty() && right.front() != '.' &&
         std::all_of(right.begin(), right.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '.' || c == '-';
         });
}

std::string fileNameOf(const std::string& right) { return right + std::string(extension); }

}  // namespace

/// Opened for each use: removing a package may remove the folder, installing one may recreate it.
PosixResult<FileDescriptor> PolkitActions::folder() const {
  FileDescriptor folder(open((root_ + "/usr/share").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return lastError();
  for (const char* name : {"polkit-1", "actions"}) {
    auto below = makeOwnFolder(folder.get(), name, geteuid());
    if (!below) return below.error();
    folder = std::move(*below);
  }
  return folder;
}

bool PolkitActions::contains(const std::string& right) const {
  const auto path = root_ + std::string(actionsFolder) + fileNameOf(right);
  return isActionName(right) && access(path.c_str(), F_OK) == 0;
}

std::string PolkitActions::packagedFile() const {
  const auto path = root_ + std::string(actionsFolder) + std::string(packagedName);
  return access(path.c_str(), F_OK) == 0 ? path : std::string();
}

std::optional<PropertyValue> PolkitActions::packagedDefinition(const std::string& right) const {
  const auto path = packagedFile();
  const auto file = path.empty() ? PosixResult<Data>(PosixCode::noEntry)
                                 : readFile(AT_FDCWD, path.c_str(), largestFile);
  if (!file || !isActionName(right)) return std::nullopt;
  return definitionInPolkitFile(std::string(file->begin(), file->end()), right);
}

PosixCode PolkitActions::set(const std::string& right, const PropertyValue& definition,
                             const std::string& description) const {
  if (!isActionName(right)) return PosixCode::invalidArgument;
  const auto actions = folder();
  if (!actions) return actions.error();
  const auto text = polkitActionFile(polkitAction(right, definition, description));
  return replaceFile(actions->get(), fileNameOf(right), {asBytes(text), readableByAll});
}

PosixCode PolkitActions::remove(const std::string& right) const {
  const auto actions = folder();
  if (!actions) return actions.error();
  const bool removed = unlinkat(actions->get(), fileNameOf(right).c_str(), 0) == 0;
  return removed ? PosixCode::success : lastError();
}

}  // namespace qrt
