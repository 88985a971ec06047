#include "client/cli/completion/TypedWords.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/Printable.h"
#include "base/ShellWord.h"
#include "client/cli/commandline/CommandSplitter.h"
#include "client/cli/completion/Candidates.h"
#include "platform/SystemNames.h"

namespace qrt {
namespace {

std::size_t startOfLastWord(std::string_view line) {
  std::size_t start = 0;
  char quote = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '\\' && quote != '\'') {
      ++i;
    } else if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == ' ' || c == '\t') {
      start = i + 1;
    }
  }
  return start;
}

/// No value for a text that is not the beginning of one command.
std::optional<std::vector<std::string>> wordsIn(std::string_view text) {
  const auto commands = splitCommands(text);
  if (!commands || commands->size() > 1) return std::nullopt;
  return commands->empty() ? std::vector<std::string>() : commands->front().words;
}

/// The quotes of the last word may still be open.
std::optional<std::string> wordIn(std::string_view written) {
  for (const char* ending : {"", "'", "\""}) {
    const auto words = wordsIn(std::string(written) + ending);
    if (words) return words->empty() ? "" : words->front();
  }
  return std::nullopt;
}

Candidates objectsFor(const std::string& typed) {
  const auto slash = typed.rfind('/');
  const auto folder = slash == std::string::npos ? "" : typed.substr(0, slash + 1);
  const auto beginning = typed.substr(folder.size());
  Candidates candidates;
  for (const auto& name : namesInFolder(folder.empty() ? "." : folder)) {
    const bool isHidden = name.front() == '.' && beginning.empty();
    if (name.starts_with(beginning) && !isHidden && printable(name) == name) {
      candidates.push_back({folder + name});
    }
  }
  return candidates;
}

}  // namespace

LineEditor::Completions completionsFor(std::string_view beforeCursor,
                                       const OperationDescriptions& operations) {
  const auto start = startOfLastWord(beforeCursor);
  const auto written = beforeCursor.substr(start);
  auto words = wordsIn(beforeCursor.substr(0, start));
  const auto typed = wordIn(written);
  if (!words || !typed) return {};
  words->push_back(*typed);
  auto candidates = candidatesFor(*words, operations);
  if (candidates.empty()) candidates = objectsFor(*typed);
  LineEditor::Completions completions{written.size(), {}};
  for (const auto& candidate : candidates) {
    completions.texts.push_back(quotedWord(candidate.word));
  }
  const bool isWhole = candidates.size() == 1 && !candidates.front().word.ends_with('/');
  if (isWhole) completions.texts.front() += ' ';
  return completions;
}

}  // namespace qrt
