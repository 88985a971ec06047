#include "client/cli/paths/PathSummary.h"

#include <fmt/format.h>

#include <cstdint>
#include <utility>

#include "client/cli/output/ErrorText.h"
#include "client/cli/output/SystemMessages.h"

namespace qrt {
namespace {

constexpr const char* doneKey = "PathsDone";
constexpr const char* totalKey = "PathsTotal";

std::string sentenceFor(const PathsResult& result, const Array& failures,
                        std::string_view participle) {
  auto sentence = fmt::format("{} of {} {}", result.done, result.total, participle);
  if (failures.empty()) return sentence;
  sentence += fmt::format("; not {}:", participle);
  if (failures.size() > 1) return sentence;  // A line for each follows.
  sentence += ' ' + failedPathText(*failures.front().dictionary());
  const auto untried = result.total - result.done - failures.size();
  return untried == 0 ? sentence : fmt::format("{}; {} not tried", sentence, untried);
}

void setText(Dictionary& userInfo, std::string_view key, std::string text) {
  userInfo.insert_or_assign(std::string(key), std::move(text));
}

}  // namespace

Outcome outcomeOf(const PathsResult& result, const Array& paths,
                  const std::vector<std::string>& words, std::string_view participle,
                  const std::function<Error(const Error&)>& localized) {
  if (!result.ending && result.failures.empty()) return success;
  if (result.total == 1) return result.ending ? result.ending : result.failures.front().error;
  // Nothing but the reason why the command never began.
  if (result.ending && result.done == 0 && result.failures.empty()) return result.ending;

  Array failures;
  for (const auto& [index, error] : result.failures) {
    failures.push_back(Dictionary{{std::string(failedPathKey), paths[index]},
                                  {std::string(failedWordKey), words[index]},
                                  {std::string(failedErrorKey), localized(error)}});
  }
  const auto sentence = sentenceFor(result, failures, participle);
  Error error = result.ending ? localized(*result.ending) : result.failures.back().error;
  if (result.ending) {
    setText(error.userInfo, localizedRecoverySuggestionKey,
            sentence + (failures.empty() ? "." : ""));
  } else {
    error.userInfo.clear();
    setText(error.userInfo, localizedDescriptionKey, sentence);
  }
  error.userInfo.insert_or_assign(doneKey, static_cast<std::uint64_t>(result.done));
  error.userInfo.insert_or_assign(totalKey, static_cast<std::uint64_t>(result.total));
  if (!failures.empty()) {
    error.userInfo.insert_or_assign(std::string(failedPathsKey), std::move(failures));
  }
  return error;
}

}  // namespace qrt
