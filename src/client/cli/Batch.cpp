#include "client/cli/Batch.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace qrt {
namespace {

UsageError atLine(std::size_t line, std::string_view text) {
  return {fmt::format("line {}: {}", line, text)};
}

bool readsStandardInput(const OperationUse& use) {
  if (use.readsPaths) return true;
  const auto& arguments = use.operation.row.arguments;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool isFile = arguments.begin()[i].form == ArgumentForm::fileContents;
    if (isFile && std::count(use.words[i].begin(), use.words[i].end(), "-") > 0) return true;
  }
  return false;
}

}  // namespace

UsageResult<std::vector<SplitCommand>> readBatch(const std::string& file,
                                                 const CommandCheck& check) {
  const auto contents = contentsOfFile(file);
  if (!contents) return contents.error();
  auto commands =
      splitCommands({reinterpret_cast<const char*>(contents->data()), contents->size()});
  if (!commands) return atLine(commands.error().line, commands.error().text);
  for (const auto& command : *commands) {
    if (const auto error = check(command.words)) return atLine(command.line, error->text);
  }
  return std::move(*commands);
}

BatchResult runBatch(const std::vector<SplitCommand>& commands, bool stops,
                     const CommandRunner& run) {
  BatchResult result;
  for (const auto& command : commands) {
    const auto status = run(command);
    ++result.run;
    if (status == ExitStatus::done) continue;
    ++result.failed;
    if (result.status == ExitStatus::done) result.status = status;
    if (status == ExitStatus::interrupted) result.status = status;
    if (stops || status == ExitStatus::interrupted) break;
  }
  return result;
}

std::string batchSummary(const BatchResult& result, std::size_t commands) {
  const auto left = commands - result.run;
  return fmt::format(
      "{} of {} command{} failed{}.", result.failed, commands, commands == 1 ? "" : "s",
      left == 0 ? "" : fmt::format("; {} {} not run", left, left == 1 ? "was" : "were"));
}

std::optional<UsageError> problemInBatch(const Command& command, bool isInputTaken) {
  if (const auto* builtIn = std::get_if<BuiltInUse>(&command.use)) {
    const bool isNested =
        builtIn->command == BuiltInCommand::batch || builtIn->command == BuiltInCommand::shell;
    if (isNested) return UsageError{fmt::format("{} cannot be used here", command.name)};
    return std::nullopt;
  }
  if (isInputTaken && readsStandardInput(std::get<OperationUse>(command.use))) {
    return UsageError{"Standard input holds the commands and cannot hold more"};
  }
  return std::nullopt;
}

}  // namespace qrt
