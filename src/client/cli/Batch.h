// Many commands in one process, so that they share a connection and what was granted on it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "client/cli/commandline/CommandLine.h"
#include "client/cli/commandline/CommandSplitter.h"
#include "client/cli/output/ExitStatus.h"

namespace qrt {

/// Returns what is wrong with a command, or nothing.
using CommandCheck = std::function<std::optional<UsageError>(const std::vector<std::string>&)>;
using CommandRunner = std::function<ExitStatus(const SplitCommand&)>;

/// The commands of a file; "-" is standard input. One that is wrong is found before the first runs.
UsageResult<std::vector<SplitCommand>> readBatch(const std::string& file,
                                                 const CommandCheck& check);

struct BatchResult {
  /// Of the first command that failed.
  ExitStatus status = ExitStatus::done;
  std::size_t run = 0;
  std::size_t failed = 0;
};

/// In order. Ends after an interruption, and after a failure if it `stops` there.
BatchResult runBatch(const std::vector<SplitCommand>& commands, bool stops,
                     const CommandRunner& run);

/// "2 of 5 commands failed; 1 was not run."
std::string batchSummary(const BatchResult& result, std::size_t commands);

/// What is wrong with a parsed command as a part of a batch, or nothing. `isInputTaken` when
/// standard input holds the commands.
std::optional<UsageError> problemInBatch(const Command& command, bool isInputTaken);

}  // namespace qrt
