#include "client/cli/output/ErrorText.h"

#include <fmt/format.h>

#include <string_view>

#include "base/Printable.h"
#include "client/cli/output/SystemMessages.h"

namespace qrt {
namespace {

std::string line(std::string_view label, const std::string& text) {
  return fmt::format("{}{}\n", label, printable(text));
}

const Error* causeOf(const Error& error) {
  const auto found = error.userInfo.find(underlyingErrorKey);
  return found == error.userInfo.end() ? nullptr : found->second.error();
}

}  // namespace

std::string errorText(const Error& error) {
  const auto* suggestion = stringIn(error.userInfo, localizedRecoverySuggestionKey);
  auto text = line("", descriptionForPerson(error));
  if (suggestion) text += line("", *suggestion);

  const auto* path = stringIn(error.userInfo, filePathErrorKey);
  if (path && text.find(printable(*path)) == std::string::npos) text += line("Path: ", *path);
  const auto* destination = stringIn(error.userInfo, destinationFilePathErrorKey);
  if (destination) text += line("Destination: ", *destination);
  if (const auto* cause = causeOf(error)) text += "Cause: " + errorText(*cause);
  return text;
}

}  // namespace qrt
