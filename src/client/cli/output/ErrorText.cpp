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

/// One line each. A single one is part of the description.
std::string failedPathLines(const Error& error) {
  const auto found = error.userInfo.find(failedPathsKey);
  const auto* failures = found == error.userInfo.end() ? nullptr : found->second.array();
  if (!failures || failures->size() < 2) return "";
  std::string lines;
  for (const auto& failure : *failures) {
    if (failure.dictionary()) lines += line("  ", failedPathText(*failure.dictionary()));
  }
  return lines;
}

}  // namespace

std::string failedPathText(const Dictionary& failure) {
  const auto found = failure.find(failedErrorKey);
  const auto* error = found == failure.end() ? nullptr : found->second.error();
  const auto* path = stringIn(failure, failedPathKey);
  const auto* word = stringIn(failure, failedWordKey);
  if (!error || !path || !word) return "";
  auto reason = reasonForPerson(*error);
  const auto* place = stringIn(error->userInfo, filePathErrorKey);
  if (place && *place != *path) reason += ": " + *place;
  return fmt::format("{} ({})", *word, reason);
}

std::string errorText(const Error& error) {
  const auto* suggestion = stringIn(error.userInfo, localizedRecoverySuggestionKey);
  auto text = line("", descriptionForPerson(error));
  if (suggestion) text += line("", *suggestion);
  text += failedPathLines(error);

  const auto* path = stringIn(error.userInfo, filePathErrorKey);
  if (path && text.find(printable(*path)) == std::string::npos) text += line("Path: ", *path);
  const auto* destination = stringIn(error.userInfo, destinationFilePathErrorKey);
  if (destination) text += line("Destination: ", *destination);
  if (const auto* cause = causeOf(error)) text += "Cause: " + errorText(*cause);
  return text;
}

}  // namespace qrt
