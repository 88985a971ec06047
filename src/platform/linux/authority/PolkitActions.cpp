#include "platform/linux/authority/PolkitActions.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "base/Text.h"
#include "base/Utf8.h"
#include "platform/linux/files/FileReplacement.h"
#include "platform/linux/files/OwnFolder.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

constexpr mode_t readableByAll = 0644;
constexpr std::string_view extension = ".policy";

/// Whether polkit accepts the name for an action. No such name leads out of the folder.
bool isActionName(std::string_view right) {
  return !right.empty() && right.front() != '.' &&
         std::all_of(right.begin(), right.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '.' || c == '-';
         });
}

std::string fileNameOf(const std::string& right) { return right + std::string(extension); }

std::string escaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto character = firstUtf8Character(text);
    const auto bytes = text.substr(0, std::max<std::size_t>(character.length, 1));
    text.remove_prefix(bytes.size());
    if (character.length == 0 || character.codePoint < 0x20) {
      result += ' ';
    } else if (character.codePoint == '&') {
      result += "&amp;";
    } else if (character.codePoint == '<') {
      result += "&lt;";
    } else {
      result += bytes;
    }
  }
  return result;
}

std::string actionFile(const std::string& right, const PropertyValue& definition,
                       const std::string& description) {
  const auto* rule = definition.string();
  const std::string answer = rule && *rule == "allow" ? "yes" : "auth_admin";
  const auto text = escaped(description);
  // clang-format off
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<policyconfig>\n"
         "  <action id=\"" + right + "\">\n"
         "    <description>" + text + "</description>\n"
         "    <message>" + text + "</message>\n"
         "    <defaults>\n"
         "      <allow_any>" + answer + "</allow_any>\n"
         "      <allow_inactive>" + answer + "</allow_inactive>\n"
         "      <allow_active>" + answer + "</allow_active>\n"
         "    </defaults>\n"
         "  </action>\n"
         "</policyconfig>\n";
  // clang-format on
}

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
  const auto path = root_ + "/usr/share/polkit-1/actions/" + fileNameOf(right);
  return isActionName(right) && access(path.c_str(), F_OK) == 0;
}

PosixCode PolkitActions::set(const std::string& right, const PropertyValue& definition,
                             const std::string& description) const {
  if (!isActionName(right)) return PosixCode::invalidArgument;
  const auto actions = folder();
  if (!actions) return actions.error();
  const auto text = actionFile(right, definition, description);
  return replaceFile(actions->get(), fileNameOf(right), {asBytes(text), readableByAll});
}

PosixCode PolkitActions::remove(const std::string& right) const {
  if (!isActionName(right)) return PosixCode::invalidArgument;
  const auto actions = folder();
  if (!actions) return actions.error();
  const bool removed = unlinkat(actions->get(), fileNameOf(right).c_str(), 0) == 0;
  return removed ? PosixCode::success : lastError();
}

}  // namespace qrt
