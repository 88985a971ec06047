#include "client/cli/output/SystemMessages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/PosixCode.h"
#include "platform/Authority.h"
#include "protocol/ConnectionErrors.h"

namespace qrt {
namespace {

struct NamedCode {
  PosixCode code;
  std::errc condition;
};

/// The C library has the words for these, in the user's language.
constexpr NamedCode namedCodes[] = {
    {PosixCode::notPermitted, std::errc::operation_not_permitted},
    {PosixCode::noEntry, std::errc::no_such_file_or_directory},
    {PosixCode::noProcess, std::errc::no_such_process},
    {PosixCode::interrupted, std::errc::interrupted},
    {PosixCode::inputOutput, std::errc::io_error},
    {PosixCode::badDescriptor, std::errc::bad_file_descriptor},
    {PosixCode::outOfMemory, std::errc::not_enough_memory},
    {PosixCode::permissionDenied, std::errc::permission_denied},
    {PosixCode::busy, std::errc::device_or_resource_busy},
    {PosixCode::exists, std::errc::file_exists},
    {PosixCode::crossDevice, std::errc::cross_device_link},
    {PosixCode::notDirectory, std::errc::not_a_directory},
    {PosixCode::isDirectory, std::errc::is_a_directory},
    {PosixCode::invalidArgument, std::errc::invalid_argument},
    {PosixCode::tooManyFilesInSystem, std::errc::too_many_files_open_in_system},
    {PosixCode::tooManyFiles, std::errc::too_many_files_open},
    {PosixCode::noSpace, std::errc::no_space_on_device},
    {PosixCode::readOnlyFileSystem, std::errc::read_only_file_system},
    {PosixCode::tryAgain, std::errc::resource_unavailable_try_again},
    {PosixCode::notSupported, std::errc::operation_not_supported},
    {PosixCode::timedOut, std::errc::timed_out},
    {PosixCode::tooManyLinks, std::errc::too_many_symbolic_link_levels},
    {PosixCode::nameTooLong, std::errc::filename_too_long},
    {PosixCode::notEmpty, std::errc::directory_not_empty},
    {PosixCode::notImplemented, std::errc::function_not_supported},
    {PosixCode::canceled, std::errc::operation_canceled},
};

struct Message {
  std::string_view domain;
  std::int64_t code;
  std::string_view text;
};

constexpr std::string_view noSuchObject = "The object does not exist";
constexpr std::string_view noPermission = "The system does not permit it";
constexpr std::string_view badName = "The name is too long or not valid";

constexpr Message messages[] = {
    {posixErrorDomain, number(PosixCode::quotaExceeded), "Disk quota exceeded"},
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

std::optional<std::string> conditionText(const Error& error) {
  if (error.domain != posixErrorDomain) return std::nullopt;
  const auto found =
      std::find_if(std::begin(namedCodes), std::end(namedCodes),
                   [&](const NamedCode& entry) { return number(entry.code) == error.code; });
  if (found == std::end(namedCodes)) return std::nullopt;
  return std::generic_category().message(static_cast<int>(found->condition));
}

std::optional<std::string> messageText(const Error& error) {
  const auto found =
      std::find_if(std::begin(messages), std::end(messages), [&](const Message& message) {
        return message.domain == error.domain && message.code == error.code;
      });
  if (found == std::end(messages)) return std::nullopt;
  return std::string(found->text);
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
  auto text = conditionText(error);
  if (!text) text = messageText(error);
  return fmt::format("{} ({} error {})", text.value_or("The operation failed"),
                     shortNameOf(error.domain), error.code);
}

Error describedError(PosixCode code, std::string_view description, std::string_view suggestion) {
  Dictionary texts{{std::string(localizedDescriptionKey), description}};
  if (!suggestion.empty()) texts.emplace(localizedRecoverySuggestionKey, suggestion);
  return posixError(code, std::move(texts));
}

}  // namespace qrt
