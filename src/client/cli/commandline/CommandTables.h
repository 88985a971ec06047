// General options, built-in commands, exit statuses, examples and notes, as data.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/output/ExitStatus.h"
#include "platform/HelperConnection.h"

namespace qrt {

struct OperationArguments;

struct CommandOptions {
  bool isJson = false;
  /// The answer to the question before an operation destroys something.
  bool assumesYes = false;
  /// Whether paths in the command line and on standard input are as JSON output writes them.
  bool hasJsonPaths = false;
  /// Neither progress nor notices.
  bool isQuiet = false;
  /// Only show what would be done.
  bool isDryRun = false;
  /// Progress also where standard error is no terminal.
  bool wantsProgress = false;
  std::string prompt;
  std::string iconPath;
  /// Where the helper listens.
  std::string address{defaultHelperAddress()};
};

/// An option that every command takes: a flag, or a text.
struct GeneralOption {
  std::string_view name;
  /// The word for its value in a synopsis; empty for a flag.
  std::string_view value;
  std::string_view help;
  bool CommandOptions::*flag = nullptr;
  std::string CommandOptions::*text = nullptr;
};

/// Commands that are not operations of the daemon.
enum class BuiltInCommand {
  version,
  operations,
  explain,
  help,
  plan,
  doctor,
  installRights,
  removeRights,
  batch,
  shell,
  complete,
  generate,
};

struct BuiltInArgument {
  /// Empty when there is no argument.
  std::string_view name = {};
  Occurrence occurrence = Occurrence::once;
  std::string_view help = {};
};

/// An option without a value.
struct BuiltInOption {
  /// Empty when there is no option.
  std::string_view name = {};
  std::string_view help = {};
};

struct BuiltInDescription {
  BuiltInCommand command;
  std::string_view name;
  std::string_view help;
  BuiltInArgument argument = {};
  BuiltInOption option = {};
  bool isHidden = false;
  /// Whether it changes something, which no plan can show.
  bool isChange = false;
};

/// An option that prints a text and ends the run.
struct InformationOption {
  std::string_view names;
  std::string_view help;
};
inline constexpr InformationOption helpOption{"-h,--help", "Show this help"};
inline constexpr InformationOption versionOption{"-V,--version",
                                                 "Show the version of this program"};

/// What follows the command's name: "[--stop-on-first-error] [FILE]".
std::string synopsisOf(const BuiltInDescription& builtIn);

struct ExitStatusDescription {
  ExitStatus status;
  std::string_view meaning;
};

/// A command line and what it does.
struct CommandExample {
  std::string_view command;
  std::string_view meaning;
};

/// An option of some operations that the helper does not see.
struct ClientOption {
  std::string_view name;
  std::string_view help;
};
inline constexpr ClientOption pathsFromInput{
    "--stdin0", "Read further paths from standard input, each ended by a zero byte"};
inline constexpr ClientOption pathsToOutput{
    "--print0", "Write only the paths of what is found, each ended by a zero byte"};

/// Null for an operation that has no such option.
const ClientOption* clientOptionOf(const OperationArguments& operation);

std::span<const GeneralOption> generalOptions();
/// Whether the word is one of them and its value is the next word.
bool isGeneralOptionWithValue(std::string_view word);
std::span<const BuiltInDescription> builtInCommands();
std::span<const ExitStatusDescription> exitStatuses();
std::span<const CommandExample> commandExamples();

/// Paragraphs on what goes to which stream.
std::span<const std::string_view> outputNotes();

/// The help below the list of commands.
std::string usageNotes();

}  // namespace qrt
