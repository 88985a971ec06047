#include "client/cli/paths/JsonPaths.h"

#include <fmt/format.h>

#include "platform/FileSystem.h"
#include "protocol/WireText.h"

namespace qrt {
namespace {

bool isMissing(FileSystem& files, const std::string& path) {
  const auto status = files.status(path.c_str(), Links::stay);
  return !status && status.error() == PosixCode::noEntry;
}

}  // namespace

void decodeJsonPaths(const OperationArguments& operation, GivenWords& words) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (operation.arguments.data()[i].form != ArgumentForm::path) continue;
    for (auto& word : words[i]) word = decodeWireText(word);
  }
}

std::optional<UsageError> doubtfulPath(const OperationArguments& operation, const GivenWords& words,
                                       FileSystem& files) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (operation.arguments.data()[i].form != ArgumentForm::path) continue;
    for (const auto& word : words[i]) {
      const auto decoded = decodeWireText(word);
      if (decoded == word || !isMissing(files, word) || isMissing(files, decoded)) continue;
      return UsageError{fmt::format(
          "'{}' does not exist; if the path is from JSON output, give the option --json-paths",
          word)};
    }
  }
  return std::nullopt;
}

}  // namespace qrt
