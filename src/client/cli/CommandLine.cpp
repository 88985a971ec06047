#include "client/cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <utility>

#include "operations/QRTPrivilegedOperationSet.h"

namespace qrt {
namespace {

struct OwnCommandDescription {
  OwnCommand command;
  const char* name;
  const char* help;
};

constexpr OwnCommandDescription ownCommands[] = {
    {OwnCommand::version, "version", "Show the version of the privileged helper."},
    {OwnCommand::installRights, "install-rights",
     "Add the authorization rights of all operations to the rights database (root only)."},
    {OwnCommand::removeRights, "remove-rights",
     "Remove the authorization rights of all operations again (root only)."},
};

constexpr const char* footer =
    R"(Options may stand before or behind the command. Words behind "--" are never options.
"qrtctl COMMAND --help" shows the arguments of a command.

Exit status:
  0    done
  1    failed
  2    the command line is wrong
  3    not authorized
  4    not found
  6    the privileged helper cannot be reached
  130  interrupted; an operation that runs goes on in the helper

Output:
  Records, program output and answers go to standard output, progress and messages to standard
  error. With --json everything goes to standard output, one JSON object a line:
    {"feedback":{...}}                             each message of a running operation
    {"done":true} or {"done":true,"answer":{...}}  the result
    {"done":false,"error":{"domain":...,"code":...,"description":...,"suggestion":...,
                           "userInfo":{...}}}      the failure
  Data is Base64 there and a date is seconds since 1970; a byte that is not valid UTF-8 is the
  character U+10FF00 + byte.)";

constexpr const char* commandFooter =
    R"("qrtctl --help" shows the options for all commands and the exit statuses.)";

/// CLI11 takes some plain words for something else: "[a,b]" for a list, "++" for the end of a
/// command. A mark in front of them keeps them together; it is taken off again behind CLI11.
constexpr char mark = '\x01';

bool needsMark(const std::string& word) {
  return word == "++" || word.starts_with('[') || word.starts_with(mark);
}

/// In reverse, as CLI11 takes them.
std::vector<std::string> marked(const std::vector<std::string>& words) {
  std::vector<std::string> result;
  bool isBehindDashes = false;
  for (const auto& word : words) {
    if (word == "--" && !isBehindDashes) {
      isBehindDashes = true;
    } else {
      result.push_back(isBehindDashes || needsMark(word) ? mark + word : word);
    }
  }
  std::reverse(result.begin(), result.end());
  return result;
}

std::string unmarked(const std::string& word) {
  return word.starts_with(mark) ? word.substr(1) : word;
}

/// "Corvexa likes to delete ..." as the description of a command.
std::string sentenceFor(const std::string& presentation) {
  constexpr std::string_view wish = " likes to ";
  const auto at = presentation.find(wish);
  if (at == std::string::npos) return presentation;
  auto sentence = presentation.substr(at + wish.size());
  if (!sentence.empty() && sentence[0] >= 'a' && sentence[0] <= 'z') sentence[0] += 'A' - 'a';
  return sentence;
}

/// The words are taken from the option later, as they are.
const CLI::callback_t acceptWords = [](const CLI::results_t&) { return true; };

/// The words of one description; null for one that is not written.
CLI::Option* addArgument(CLI::App& command, const ArgumentDescription& description) {
  if (isImplied(description.form)) return nullptr;
  const std::string name(description.name);
  const std::string help(description.help);
  if (takesNoValue(description.form)) {
    return command.add_flag(name, help)->disable_flag_override();
  }

  auto* const option = command.add_option(name, acceptWords, help);
  const bool isRequired =
      description.occurrence == Occurrence::once || description.occurrence == Occurrence::oneOrMore;
  const bool isRepeated =
      description.occurrence == Occurrence::oneOrMore || description.occurrence == Occurrence::any;
  option->required(isRequired);
  if (isRepeated) {
    option->expected(1, -1);
    // An option takes one word each time, or it would swallow what stands behind it.
    option->allow_extra_args(!isOption(description));
  }
  return option;
}

struct OperationForm {
  const OperationArguments* operation;
  CLI::App* command;
  std::vector<CLI::Option*> options;
};

class Parser {
 public:
  Parser(const QRTPrivilegedOperationSet& operations,
         const std::vector<OperationArguments>& table) {
    app_.require_subcommand(1);
    app_.footer(footer);
    app_.set_help_flag("-h,--help", "Show this help");
    const auto formatter = app_.get_formatter();
    formatter->column_width(26);
    formatter->label("SUBCOMMAND", "COMMAND");
    formatter->label("Positionals", "Arguments");
    formatter->label("REQUIRED", "");
    app_.add_flag("--json", options_.isJson, "Tell everything as JSON")->disable_flag_override();
    app_.add_option("--prompt", options_.prompt, "What the authorization dialog says");
    app_.add_option("--icon", options_.iconPath, "Image that the authorization dialog shows");
    app_.add_option("--socket", options_.socketPath, "Where the helper listens")
        ->capture_default_str();
    for (const auto& own : ownCommands) addCommand(own.name, own.help, "Commands");
    for (const auto& entry : table) addOperation(entry, operations);
  }

  std::variant<Command, HelpText, UsageError> parse(const std::vector<std::string>& words) {
    try {
      app_.parse(marked(words));
    } catch (const CLI::CallForHelp&) {
      return HelpText{app_.help()};
    } catch (const CLI::ParseError& error) {
      std::string text = error.what();
      text.erase(std::remove(text.begin(), text.end(), mark), text.end());
      return UsageError{std::move(text)};
    }
    return command();
  }

 private:
  CLI::App* addCommand(const std::string& name, const std::string& help, const std::string& group) {
    auto* const command = app_.add_subcommand(name, help);
    command->group(group);
    command->fallthrough();
    command->footer(commandFooter);
    return command;
  }

  void addOperation(const OperationArguments& entry, const QRTPrivilegedOperationSet& operations) {
    const auto found = operations.implementedOperations().find(entry.identifier);
    if (!entry.isAvailable || found == operations.implementedOperations().end()) return;
    OperationForm form{&entry, nullptr, {}};
    form.command = addCommand(found->first, sentenceFor(found->second.presentationString()),
                              "Operations of the privileged helper");
    for (const auto& description : entry.arguments) {
      form.options.push_back(addArgument(*form.command, description));
    }
    forms_.push_back(std::move(form));
  }

  Command command() const {
    const auto* const chosen = app_.get_subcommands().front();
    Command command{options_, chosen->get_name(), OwnCommand::version};
    command.options.prompt = unmarked(command.options.prompt);
    command.options.iconPath = unmarked(command.options.iconPath);
    command.options.socketPath = unmarked(command.options.socketPath);
    for (const auto& own : ownCommands) {
      if (own.name == command.name) command.what = own.command;
    }
    for (const auto& form : forms_) {
      if (form.command == chosen) command.what = OperationCommand{form.operation, wordsOf(form)};
    }
    return command;
  }

  static GivenWords wordsOf(const OperationForm& form) {
    GivenWords words;
    for (const auto* option : form.options) {
      auto& given = words.emplace_back();
      if (!option) continue;
      std::transform(option->results().begin(), option->results().end(), std::back_inserter(given),
                     unmarked);
    }
    return words;
  }

  CLI::App app_{"Has the privileged helper do maintenance work that needs root.", "qrtctl"};
  CommandOptions options_;
  std::vector<OperationForm> forms_;
};

}  // namespace

std::variant<Command, HelpText, UsageError> parseCommandLine(
    const std::vector<std::string>& words, const QRTPrivilegedOperationSet& operations,
    const std::vector<OperationArguments>& table) {
  return Parser(operations, table).parse(words);
}

}  // namespace qrt
