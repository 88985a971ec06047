#include "client/cli/commandline/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "client/cli/commandline/OperationSentence.h"
#include "operations/QRTPrivilegedOperationSet.h"

namespace qrt {
namespace {

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
  // A list of paths may stand on standard input instead.
  option->required(isRequired && !isPathList(description));
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
  /// Null where no list of paths is taken.
  CLI::Option* pathsFromInput = nullptr;
};

struct OwnForm {
  const OwnCommandDescription* description;
  CLI::App* command;
  /// Null where no word is taken.
  CLI::Option* word;
};

class Parser {
 public:
  Parser(const QRTPrivilegedOperationSet& operations,
         const std::vector<OperationArguments>& table) {
    app_.require_subcommand(1);
    app_.footer(std::string(usageNotes()));
    app_.set_help_flag("-h,--help", "Show this help");
    const auto formatter = app_.get_formatter();
    formatter->column_width(26);
    formatter->label("SUBCOMMAND", "COMMAND");
    formatter->label("Positionals", "Arguments");
    formatter->label("REQUIRED", "");
    for (const auto& option : generalOptions()) addGeneralOption(option);
    for (const auto& own : ownCommands()) addOwnCommand(own);
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

  void addGeneralOption(const GeneralOption& option) {
    const std::string name(option.name);
    const std::string help(option.help);
    if (option.flag) {
      app_.add_flag(name, options_.*option.flag, help)->disable_flag_override();
    } else {
      app_.add_option(name, options_.*option.text, help)->capture_default_str();
    }
  }

  void addOwnCommand(const OwnCommandDescription& own) {
    auto* const command =
        addCommand(std::string(own.name), std::string(own.help), own.isHidden ? "" : "Commands");
    OwnForm form{&own, command, nullptr};
    if (!own.argument.empty()) {
      form.word = command->add_option(std::string(own.argument), acceptWords,
                                      std::string(own.argumentHelp));
      form.word->required();
    }
    ownForms_.push_back(form);
  }

  void addOperation(const OperationArguments& entry, const QRTPrivilegedOperationSet& operations) {
    const auto found = operations.implementedOperations().find(entry.identifier);
    if (!entry.isAvailable || found == operations.implementedOperations().end()) return;
    OperationForm form{&entry, nullptr, {}, nullptr};
    form.command =
        addCommand(found->first, sentenceFor(found->second), "Operations of the privileged helper");
    for (const auto& description : entry.arguments) {
      form.options.push_back(addArgument(*form.command, description));
    }
    if (takesPathList(entry)) {
      const std::string name(pathsFromInput.name);
      const std::string help(pathsFromInput.help);
      form.pathsFromInput = form.command->add_flag(name, help);
      form.pathsFromInput->disable_flag_override();
    }
    forms_.push_back(std::move(form));
  }

  Command command() const {
    const auto* const chosen = app_.get_subcommands().front();
    Command command{options_, chosen->get_name(), OwnCommandUse{}};
    for (const auto& option : generalOptions()) {
      if (option.text) command.options.*option.text = unmarked(options_.*option.text);
    }
    for (const auto& form : ownForms_) {
      if (form.command != chosen) continue;
      command.what = OwnCommandUse{form.description->command,
                                   form.word ? unmarked(form.word->results().front()) : ""};
    }
    for (const auto& form : forms_) {
      if (form.command != chosen) continue;
      command.what = OperationCommand{form.operation, wordsOf(form),
                                      form.pathsFromInput && *form.pathsFromInput};
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
  std::vector<OwnForm> ownForms_;
  std::vector<OperationForm> forms_;
};

}  // namespace

std::variant<Command, HelpText, UsageError> parseCommandLine(
    const std::vector<std::string>& words, const QRTPrivilegedOperationSet& operations,
    const std::vector<OperationArguments>& table) {
  return Parser(operations, table).parse(words);
}

}  // namespace qrt
