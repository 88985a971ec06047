#include "client/cli/output/SystemMessages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include "base/PosixCode.h"
#include "platform/Authority.h"
#include "platform/SystemErrorText.h"
#include "protocol/ConnectionErrors.h"

namespace qrt {
namespace {

struct Message {
  std::string_view domain;
  std::int64_t code;
  std::string_view text;
};

constexpr std::string_view noSuchObject = "The object does not exist";
constexpr std::string_view noPermission = "The system does not permit it";
constexpr std::string_view badName = "The name is too long or not valid";

/// For the domains that the system has no words for, and where its words mislead.
constexpr Message messages[] = {
    {posixErrorDomain, number(PosixCode::noAttribute), "No such attribute"},
    {osStatusErrorDomain, number(AuthorizationStatus::denied), "The authorization was denied"},
    {osStatusErrorDomain, number(AuthorizationStatus::canceled), "The authorization was canceled"},
    {osStatusErrorDomain, number(AuthorizationStatus::interactionNotAllowed),
     "The authorization needs a dialog, and none can be shown"},
    {cocoaErrorDomain, 4, noSuchObject},
    {cocoaErrorDomain, 256, "The object cannot be read"},
    {cocoaErrorDomain, 257, noPermission},
    {cocoaErrorDomain, 258, badName},
    {cocoaErrorDomain, 260, noSuchObject},
    {cocoaErrorDomain, 512, "The object cannot be changed"},
    {cocoaErrorDomain, 513, noPermission},
    {cocoaErrorDomain, 514, badName},
    {cocoaErrorDomain, 516, "The object exists already"},
    {cocoaErrorDomain, 640, "There is no space left"},
    {cocoaErrorDomain, 642, "The volume is read-only"},
    {cocoaErrorDomain, 3840, "The text is not a property list"},
    {cocoaErrorDomain, connection_error::interrupted,
     "The privileged helper has ended the connection"},
    {cocoaErrorDomain, connection_error::invalid, "The privileged helper cannot be reached"},
};

std::string meaningOf(const Error& error) {
  const auto* const found =
      std::find_if(std::begin(messages), std::end(messages), [&](const Message& message) {
        return message.domain == error.domain && message.code == error.code;
      });
  if (found != std::end(messages)) return std::string(found->text);
  if (error.domain == posixErrorDomain) {
    if (auto text = systemErrorText(error.code)) return *text;
  }
  return "The operation failed";
}

std::string_view shortNameOf(std::string_view domain) {
  if (domain == posixErrorDomain) return "POSIX";
  if (domain == osStatusErrorDomain) return "OSStatus";
  if (domain == cocoaErrorDomain) return "Cocoa";
  return domain;
}

}  // namespace

std::string descriptionForPerson(const Error& error) {
  const auto* own = stringIn(error.userInfo, localizedDescriptionKey);
  if (own && !own->empty()) return *own;
  return fmt::format("{} ({} error {})", meaningOf(error), shortNameOf(error.domain), error.code);
}

std::string reasonForPerson(const Error& error) {
  const auto* own = stringIn(error.userInfo, localizedDescriptionKey);
  auto reason = own && !own->empty() ? *own : meaningOf(error);
  if (reason.ends_with('.')) reason.pop_back();
  return reason;
}

Error describedError(PosixCode code, std::string_view description, std::string_view suggestion) {
  Dictionary texts{{std::string(localizedDescriptionKey), description}};
  if (!suggestion.empty()) texts.emplace(localizedRecoverySuggestionKey, suggestion);
  return posixError(code, std::move(texts));
}

}  // namespace qrt
