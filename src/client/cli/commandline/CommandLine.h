// What the words behind the program's name ask for.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "client/cli/commandline/ArgumentReader.h"
#include "client/cli/commandline/CommandTables.h"
#include "client/cli/commandline/OperationArguments.h"

namespace qrt {

class QRTPrivilegedOperationSet;

struct OwnCommandUse {
  OwnCommand command = OwnCommand::version;
  /// Its argument; empty when it takes none.
  std::string word;
};

struct OperationCommand {
  const OperationArguments* operation;
  GivenWords words;
  /// The paths on standard input are to be appended.
  bool readsPaths = false;
};

struct Command {
  CommandOptions options;
  std::string name;
  std::variant<OwnCommandUse, OperationCommand> what;
};

struct HelpText {
  std::string text;
};

/// `operations` has the sentences that describe the operations of the `table`, which outlives the
/// command. Words behind "--" are never options.
std::variant<Command, HelpText, UsageError> parseCommandLine(
    const std::vector<std::string>& words, const QRTPrivilegedOperationSet& operations,
    const std::vector<OperationArguments>& table = operationArguments());

}  // namespace qrt
