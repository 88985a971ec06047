#include "client/cli/commandline/CommandTables.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "client/cli/commandline/OperationArguments.h"
#include "platform/ServiceDescription.h"

namespace qrt {
namespace {

const GeneralOption options[] = {
    {"--json", "", "Write output as JSON lines", &CommandOptions::isJson},
    {"--yes", "", "Answer yes to the question before something is destroyed",
     &CommandOptions::assumesYes},
    {"--dry-run", "", "Show what the operation would do, without doing it",
     &CommandOptions::isDryRun},
    {"--json-paths", "", "Read paths in the form in which JSON output writes them",
     &CommandOptions::hasJsonPaths},
    {"--quiet", "", "Show neither progress nor notices", &CommandOptions::isQuiet},
    {"--progress", "", "Show progress even where standard error is no terminal",
     &CommandOptions::wantsProgress},
    {"--prompt", "TEXT", "Text of the password dialog, after the operation's own", nullptr,
     &CommandOptions::prompt},
    {"--icon", "FILE", "Image in the authorization dialog", nullptr, &CommandOptions::iconPath},
    {"--socket", serviceDescription().addressValue, serviceDescription().addressHelp, nullptr,
     &CommandOptions::address},
};

constexpr BuiltInDescription commands[] = {
    {BuiltInCommand::version, "version", "Show the version of the privileged helper."},
    {BuiltInCommand::operations, "operations", "List the operations of the privileged helper."},
    {BuiltInCommand::explain,
     "explain",
     "Describe an operation: arguments, right, and whether this system supports it.",
     {"OPERATION", Occurrence::once, "Name of the operation, or of its right"}},
    {BuiltInCommand::help,
     "help",
     "Show how a command is used.",
     {"COMMAND", Occurrence::optional, "Name of the command"}},
    {BuiltInCommand::plan,
     "plan",
     "Show what an operation would do and whether it would succeed, without doing it. The option "
     "--dry-run does the same.",
     {"OPERATION", Occurrence::once, "Name of the operation; its arguments follow"}},
    {BuiltInCommand::doctor, "doctor",
     "Check the helper and this system. Fails when it finds a problem."},
    {.command = BuiltInCommand::installRights,
     .name = "install-rights",
     .help = "Add the authorization rights of all operations to the rights database (root only).",
     .isChange = true},
    {.command = BuiltInCommand::removeRights,
     .name = "remove-rights",
     .help = "Remove the authorization rights of all operations from the rights database (root "
             "only).",
     .isChange = true},
    {BuiltInCommand::batch,
     "batch",
     "Run commands of a file, one a line with the quotes of sh, on one connection. A wrong line is "
     "found before the first command runs.",
     {"FILE", Occurrence::optional, "File with the commands; standard input without it"},
     {"--stop-on-first-error", "Do not run the remaining commands after a failure"}},
    {BuiltInCommand::shell, "shell",
     "Run commands as you type them, on one connection. \"exit\" ends it."},
    {BuiltInCommand::complete,
     "complete",
     "List what can complete the last word of a command line.",
     {"WORD", Occurrence::any, "Words after the name of this program"},
     {},
     true},
    {BuiltInCommand::generate,
     "generate",
     "Write a text that is generated from the tables of this program.",
     {"TEXT", Occurrence::once, "man, daemon-man, bash, zsh, fish, reference, examples or polkit"},
     {},
     true},
};

constexpr ExitStatusDescription statuses[] = {
    {ExitStatus::done, "done"},
    {ExitStatus::failed, "failed, or the answer to the question was not yes"},
    {ExitStatus::usage, "the command line is wrong"},
    {ExitStatus::notAuthorized, "not authorized"},
    {ExitStatus::notFound, "not found"},
    {ExitStatus::unreachable, "the privileged helper cannot be reached"},
    {ExitStatus::interrupted,
     "stopped or interrupted; an interrupted operation continues in the helper"},
};

/// Each works on an empty machine with a helper when /srv/example holds the folders "old" and
/// "project".
constexpr CommandExample examples[] = {
    {"qrtctl delete-fileobjects --recursive /srv/example/old",
     "Delete a folder with everything below it, even objects with immutable flags."},
    {"find /srv/example/project -name '*.tmp' -print0 | qrtctl delete-fileobjects --stdin0",
     "Delete the objects that another program found."},
    {"qrtctl search-patterns --extension tmp --print0 /srv/example/project | "
     "qrtctl delete-fileobjects --stdin0",
     "Delete what a search found, whatever bytes the names have."},
    {"qrtctl search-agedfiles /srv/example/project 30",
     "List the objects that have not changed for thirty days."},
    {"qrtctl --json inspect-storagesize /srv/example/project",
     "Measure a folder, for a program to read."},
    {"qrtctl execute-utility chmod -- -R go-w /srv/example/project",
     "Run a utility; the words after \"--\" are its arguments."},
    {"printf 'touch-fileobject /srv/example/%s\\n' old project | qrtctl batch",
     "Run many commands, with one password for all of them."},
    {"qrtctl plan delete-fileobjects --recursive /srv/example/old",
     "Show what would be deleted, what protects it and whether that would work."},
    {"qrtctl explain modify-protection", "Describe an operation."},
    {"qrtctl doctor", "Find out what is wrong."},
};

constexpr std::string_view notes[] = {
    // Every text takes several lines. NOLINTNEXTLINE(bugprone-suspicious-missing-comma)
    "Records, program output and answers go to standard output, progress and messages to standard "
    "error. Failures have colour on a terminal, unless the variable NO_COLOR is set or TERM is "
    "\"dumb\".",
    "Progress is one line that a terminal redraws. A terminal with TERM=dumb gets single lines; "
    "other outputs get them with --progress only. --quiet shows neither progress nor notices.",
    "A question precedes each operation that destroys something; --yes answers it. It names the "
    "first object and what is below it; \"at least\" means that the count ended after 2 seconds or "
    "that you may not read everything. It goes to the controlling terminal, wherever the standard "
    "streams go. A process without one, such as a service, is not asked.",
    "The root folder, your home folder and mount points are not deleted or emptied without the "
    "option that names them.",
    "A plan names the objects of an operation with their counts and sizes, what protects them "
    "(flags, access control lists, read-only mounts, mount points, system integrity), the right, "
    "whether a password is asked for, and whether this system can do it. It sees what you see, "
    "counts for 2 seconds at most, changes nothing and asks no helper. Its exit status is that of "
    "the operation as far as it can be known: 0, 3 when you do not get the right, 4 when an object "
    "is missing, 1 for other obstacles.",
    "Ctrl-C (or SIGTERM) stops an operation that sends progress or output: it ends as soon as it "
    "can, and what it did until then stays done. A second Ctrl-C leaves at once; the operation "
    "then continues in the helper, as do operations without feedback.",
    "With --json all output goes to standard output, one JSON object a line: "
    "{\"feedback\":{...}} for each message of a running operation, then {\"done\":true} or "
    "{\"done\":true,\"answer\":{...}} for the result or {\"done\":false,\"error\":{...}} for the "
    "failure, with its domain, code, description, suggestion and userInfo. Data is Base64, a date "
    "is seconds since 1970, and a byte that is not valid UTF-8 is the character U+10FF00 + byte.",
};

}  // namespace

const ClientOption* clientOptionOf(const OperationArguments& operation) {
  if (takesPathList(operation)) return &pathsFromInput;
  return operation.identifier.starts_with("search-") ? &pathsToOutput : nullptr;
}

std::span<const GeneralOption> generalOptions() { return options; }
bool isGeneralOptionWithValue(std::string_view word) {
  return std::any_of(std::begin(options), std::end(options), [&](const GeneralOption& option) {
    return option.name == word && option.text;
  });
}
std::span<const BuiltInDescription> builtInCommands() { return commands; }
std::span<const ExitStatusDescription> exitStatuses() { return statuses; }
std::span<const CommandExample> commandExamples() { return examples; }
std::span<const std::string_view> outputNotes() { return notes; }

std::string synopsisOf(const BuiltInDescription& builtIn) {
  const auto& [name, occurrence, help] = builtIn.argument;
  const auto option = builtIn.option.name.empty() ? "" : fmt::format("[{}]", builtIn.option.name);
  const auto word = name.empty() || occurrence == Occurrence::once ? std::string(name)
                                                                   : fmt::format("[{}]", name);
  return option + (option.empty() || word.empty() ? "" : " ") + word;
}

std::string usageNotes() {
  std::string text =
      "Options go before or after the command. Words after \"--\" are never options.\n"
      "\"qrtctl COMMAND --help\" shows the arguments of a command.\n\nExit status:\n";
  for (const auto& [status, meaning] : statuses) {
    text += fmt::format("  {:<4} {}\n", static_cast<int>(status), meaning);
  }
  text +=
      "  \"execute-utility\" ends with the status of the utility when that is not 0, and with "
      "128 and the number of the signal when a signal killed it.\n";
  text += "\nOutput:";
  for (const auto& note : notes) text += fmt::format("\n  {}\n", note);
  return text;
}

}  // namespace qrt
