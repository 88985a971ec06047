// What the words behind the program's name ask for.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "client/cli/ArgumentReader.h"
#include "client/cli/OperationArguments.h"
#include "platform/HelperConnection.h"

namespace qrt {

class QRTPrivilegedOperationSet;

struct CommandOptions {
  bool isJson = false;
  std::string prompt;
  std::string iconPath;
  std::string socketPath{defaultHelperAddress()};
};

/// Commands that are no operation of the daemon.
enum class OwnCommand { version, installRights, removeRights };

struct OperationCommand {
  const OperationArguments* operation;
  GivenWords words;
};

struct Command {
  CommandOptions options;
  std::string name;
  std::variant<OwnCommand, OperationCommand> what;
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
