// What every command line may hold beside the operations, as data.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "client/cli/output/ExitStatus.h"
#include "platform/HelperConnection.h"

namespace qrt {

struct CommandOptions {
  bool isJson = false;
  /// Nobody is asked before something is destroyed.
  bool isSure = false;
  std::string prompt;
  std::string iconPath;
  /// Where the helper is reached.
  std::string address{defaultHelperAddress()};
};

/// An option that any command takes: a flag, or a text.
struct GeneralOption {
  std::string_view name;
  /// What stands behind it in a synopsis; empty for a flag.
  std::string_view value;
  std::string_view help;
  bool CommandOptions::*flag = nullptr;
  std::string CommandOptions::*text = nullptr;
};

/// Commands that are no operation of the daemon.
enum class OwnCommand {
  version,
  operations,
  explain,
  doctor,
  installRights,
  removeRights,
  generate,
};

struct OwnCommandDescription {
  OwnCommand command;
  std::string_view name;
  std::string_view help;
  std::string_view argument = {};
  std::string_view argumentHelp = {};
  bool isHidden = false;
};

struct ExitStatusDescription {
  ExitStatus status;
  std::string_view meaning;
};

/// One command as it is typed, and what it does.
struct CommandExample {
  std::string_view command;
  std::string_view meaning;
};

/// The option of operations that take a list of paths.
struct PathsFromInput {
  std::string_view name = "--stdin0";
  std::string_view help = "Take further paths from standard input, each ended by a zero byte";
};
inline constexpr PathsFromInput pathsFromInput;

std::span<const GeneralOption> generalOptions();
std::span<const OwnCommandDescription> ownCommands();
std::span<const ExitStatusDescription> exitStatuses();
std::span<const CommandExample> commandExamples();

/// Paragraphs on what is written where.
std::span<const std::string_view> outputNotes();

/// What stands below the list of commands in the help.
std::string usageNotes();

}  // namespace qrt
