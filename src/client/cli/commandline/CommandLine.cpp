#include "client/cli/commandline/CommandLine.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "client/cli/commandline/NearestWords.h"

namespace qrt {
namespace {

constexpr const char* commandFooter =
    R"("qrtctl --help" shows the options for all commands and the exit statuses.)";

constexpr std::string_view planName = "plan";

/// CLI11 gives some plain words a meaning: "[a,b]" is a list, "++" ends a command. A mark before
/// such a word hides it from CLI11; the mark is removed from the result.
constexpr char mark = '\x01';

bool needsMark(const std::string& word) {
  return word == "++" || word.starts_with('[') || word.starts_with(mark);
}

/// In reverse, the order that CLI11 wants.
std::vector<std::string> marked(const std::vector<std::string>& words) {
  std::vector<std::string> result;
  bool isAfterDashes = false;
  for (const auto& word : words) {
    if (word == "--" && !isAfterDashes) {
      isAfterDashes = true;
    } else {
      result.push_back(isAfterDashes || needsMark(word) ? mark + word : word);
    }
  }
  std::reverse(result.begin(), result.end());
  return result;
}

std::string unmarked(const std::string& word) {
  return word.starts_with(mark) ? word.substr(1) : word;
}

/// The words are read from the option's results later.
const CLI::callback_t acceptWords = [](const CLI::results_t&) { return true; };

CLI::Option* addFlag(CLI::App& command, std::string_view name, std::string_view help) {
  // CLI11 takes a text that can change for a variable that gets the value.
  const std::string description(help);
  return command.add_flag(std::string(name), description)->disable_flag_override();
}

/// Null for an argument that the user does not write.
CLI::Option* addArgument(CLI::App& command, const ArgumentDescription& argument) {
  if (isImplied(argument.form)) return nullptr;
  if (isFlag(argument.form)) return addFlag(command, argument.name, argument.help);
  auto* const option =
      command.add_option(std::string(argument.name), acceptWords, std::string(argument.help));
  // Standard input can hold a list of paths, so the command line need not.
  option->required(argument.occurrence == Occurrence::once ||
                   (argument.occurrence == Occurrence::oneOrMore && !isPathList(argument)));
  if (isRepeatable(argument)) {
    option->expected(1, -1);
    // An option takes one word each time. Otherwise it would take the words after it as well.
    option->allow_extra_args(!isOption(argument));
  }
  return option;
}

/// An operation with its counterparts in CLI11, which owns them.
struct OperationParser {
  const OperationDescription& operation;
  CLI::App* command;
  /// One for each argument; null for an argument that the user does not write.
  std::vector<CLI::Option*> options;
  /// Null when the operation has no option of the client.
  CLI::Option* clientOption;
};

struct BuiltInParser {
  BuiltInCommand which;
  CLI::App* command;
  /// Null when the command takes no argument.
  CLI::Option* words;
  /// Null when the command has no option of its own.
  CLI::Option* option;
};

using WordIterator = std::vector<std::string>::iterator;

/// The first word that is neither an option nor the value of a general one.
WordIterator commandFrom(WordIterator word, WordIterator end) {
  while (word != end && word->starts_with('-') && *word != "--") {
    const bool hasValue = isGeneralOptionWithValue(*word) && word + 1 != end;
    word += hasValue ? 2 : 1;
  }
  return word != end && *word == "--" ? end : word;
}

}  // namespace

/// The commands and options, as CLI11 knows them.
class CommandLineParser::Grammar {
 public:
  Grammar(const OperationDescriptions& operations, const CommandOptions& defaults)
      : descriptions_(operations), defaults_(defaults), options_(defaults) {
    app_.require_subcommand(1);
    app_.footer(std::string(usageNotes()));
    app_.set_help_flag(std::string(helpOption.names), std::string(helpOption.help));
    // The client prints the version, which CLI11 does not know.
    app_.set_version_flag(std::string(versionOption.names), "", std::string(versionOption.help));
    const auto formatter = app_.get_formatter();
    formatter->column_width(26);
    formatter->label("SUBCOMMAND", "COMMAND");
    formatter->label("Positionals", "Arguments");
    formatter->label("REQUIRED", "");
    for (const auto& option : generalOptions()) addGeneralOption(option);
    for (const auto& builtIn : builtInCommands()) addBuiltIn(builtIn);
    for (const auto& operation : operations) addOperation(operation);
  }

  ParsedWords parse(std::vector<std::string> words) {
    app_.clear();
    options_ = defaults_;
    if (auto error = replacePlan(words)) return *error;
    try {
      app_.parse(marked(words));
    } catch (const CLI::CallForHelp&) {
      const auto chosen = app_.get_subcommands();
      return HelpText{app_.help(), chosen.empty() ? "" : chosen.front()->get_name()};
    } catch (const CLI::CallForVersion&) {
      return VersionRequest{};
    } catch (const CLI::ArgumentMismatch& error) {
      return wrongValue(error.what());
    } catch (const CLI::ParseError& error) {
      if (app_.get_subcommands().empty()) return unknownCommand();
      if (dynamic_cast<const CLI::ExtrasError*>(&error)) return unexpectedWord();
      std::string text = error.what();
      text.erase(std::remove(text.begin(), text.end(), mark), text.end());
      return UsageError{std::move(text)};
    }
    auto parsed = command();
    const auto* builtIn = std::get_if<BuiltInUse>(&parsed.use);
    const bool isHelp = builtIn && builtIn->command == BuiltInCommand::help;
    if (isHelp) return helpOn(builtIn->word());
    if (builtIn && parsed.options.isDryRun && isChange(builtIn->command)) {
      return UsageError{fmt::format("There is no plan for {}", parsed.name)};
    }
    return parsed;
  }

 private:
  static bool isChange(BuiltInCommand command) {
    const auto all = builtInCommands();
    return std::any_of(all.begin(), all.end(), [&](const BuiltInDescription& one) {
      return one.command == command && one.isChange;
    });
  }

  /// "plan OPERATION" becomes "--dry-run OPERATION". Without a word for the operation it stays, so
  /// that its help can be shown.
  std::optional<UsageError> replacePlan(std::vector<std::string>& words) {
    const auto place = commandFrom(words.begin(), words.end());
    if (place == words.end() || *place != planName) return std::nullopt;
    const auto word = commandFrom(place + 1, words.end());
    if (word == words.end()) return std::nullopt;
    const bool isOperation = std::any_of(
        operations_.begin(), operations_.end(),
        [&](const OperationParser& parser) { return parser.operation.row.identifier == *word; });
    if (!isOperation) return unknownOperation(*word, descriptions_);
    options_.isDryRun = true;
    words.erase(place);
    return std::nullopt;
  }

  CLI::App* addCommand(std::string_view name, std::string_view help, const std::string& group) {
    auto* const command = app_.add_subcommand(std::string(name), std::string(help));
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

  void addBuiltIn(const BuiltInDescription& builtIn) {
    auto* const command =
        addCommand(builtIn.name, builtIn.help, builtIn.isHidden ? "" : "Commands");
    const auto& [name, occurrence, help] = builtIn.argument;
    CLI::Option* words = nullptr;
    if (!name.empty()) {
      words = command->add_option(std::string(name), acceptWords, std::string(help));
      words->required(occurrence == Occurrence::once);
      if (occurrence == Occurrence::any) words->expected(0, -1)->allow_extra_args();
    }
    const auto& [optionName, optionHelp] = builtIn.option;
    auto* const option = optionName.empty() ? nullptr : addFlag(*command, optionName, optionHelp);
    builtIns_.push_back({builtIn.command, command, words, option});
  }

  void addOperation(const OperationDescription& operation) {
    const auto& row = operation.row;
    auto* const command =
        addCommand(row.identifier, operation.sentence, "Operations of the privileged helper");
    std::vector<CLI::Option*> options;
    for (const auto& argument : row.arguments) options.push_back(addArgument(*command, argument));
    const auto* const own = clientOptionOf(row);
    auto* const clientOption = own ? addFlag(*command, own->name, own->help) : nullptr;
    operations_.push_back({operation, command, std::move(options), clientOption});
  }

  /// CLI11 begins a text about a missing value or one too many with "--name: ", one about a value
  /// for an option that has none with "name ".
  static UsageError wrongValue(const std::string& text) {
    const auto name = text.substr(0, text.find_first_of(": "));
    if (text.find(": At Most") != std::string::npos) return {name + " can be given only once"};
    if (text.starts_with('-')) return {name + " needs a value"};
    return {fmt::format("--{} takes no value", name)};
  }

  UsageError unexpectedWord() const {
    const auto* const command = app_.get_subcommands().front();
    const auto word = app_.remaining(/*recurse=*/true).front();
    if (!word.starts_with('-')) return {fmt::format("'{}' is one word too many", unmarked(word))};
    std::vector<std::string> names;
    for (const auto* from : {command, static_cast<const CLI::App*>(&app_)}) {
      for (const auto* option : from->get_options()) {
        if (!option->get_lnames().empty()) names.push_back("--" + option->get_lnames().front());
      }
    }
    const std::vector<std::string_view> views(names.begin(), names.end());
    return {fmt::format("There is no option '{}'{}", word, proposalFor(word, views))};
  }

  UsageError unknownCommand() const {
    const auto words = app_.remaining();
    const auto first = std::find_if(words.begin(), words.end(),
                                    [](const auto& word) { return !word.starts_with('-'); });
    if (first != words.end()) return noSuchCommand(unmarked(*first));
    if (words.empty()) return {"A command is required"};
    return {fmt::format("There is no option '{}', and a command is required", words.front())};
  }

  UsageError noSuchCommand(const std::string& word) const {
    std::vector<std::string_view> names;
    for (const auto& builtIn : builtInCommands()) {
      if (!builtIn.isHidden) names.push_back(builtIn.name);
    }
    for (const auto& parser : operations_) names.push_back(parser.operation.row.identifier);
    if (std::find(names.begin(), names.end(), word) != names.end()) {
      return {fmt::format("The command '{}' goes before \"--\"", word)};
    }
    return {fmt::format("There is no command '{}'{}", word, proposalFor(word, names))};
  }

  ParsedWords helpOn(const std::string& word) {
    app_.clear();  // Otherwise CLI11 describes the command "help".
    if (word.empty()) return HelpText{app_.help(), word};
    const auto commands =
        app_.get_subcommands([&](const CLI::App* command) { return command->get_name() == word; });
    if (commands.empty()) return noSuchCommand(word);
    return HelpText{commands.front()->help(app_.get_name()), word};
  }

  Command command() const {
    const auto* const chosen = app_.get_subcommands().front();
    auto options = options_;
    for (const auto& option : generalOptions()) {
      if (option.text) options.*option.text = unmarked(options.*option.text);
    }
    return {std::move(options), chosen->get_name(), useOf(chosen)};
  }

  std::variant<BuiltInUse, OperationUse> useOf(const CLI::App* chosen) const {
    for (const auto& [which, command, words, option] : builtIns_) {
      if (command != chosen) continue;
      return BuiltInUse{which, wordsOf({words}).front(), option && *option};
    }
    const auto parser =
        std::find_if(operations_.begin(), operations_.end(),
                     [&](const OperationParser& candidate) { return candidate.command == chosen; });
    const auto* const own = clientOptionOf(parser->operation.row);
    const bool isGiven = own && *parser->clientOption;
    return OperationUse{parser->operation, wordsOf(parser->options),
                        isGiven && own == &pathsFromInput, isGiven && own == &pathsToOutput};
  }

  static GivenWords wordsOf(const std::vector<CLI::Option*>& options) {
    GivenWords words;
    for (const auto* option : options) {
      auto& given = words.emplace_back();
      if (!option) continue;
      std::transform(option->results().begin(), option->results().end(), std::back_inserter(given),
                     unmarked);
    }
    return words;
  }

  CLI::App app_{"Asks the privileged helper to do maintenance work that needs root.", "qrtctl"};
  const OperationDescriptions& descriptions_;
  const CommandOptions defaults_;
  CommandOptions options_;
  std::vector<BuiltInParser> builtIns_;
  std::vector<OperationParser> operations_;
};

CommandLineParser::CommandLineParser(const OperationDescriptions& operations,
                                     const CommandOptions& defaults)
    : grammar_(std::make_unique<Grammar>(operations, defaults)) {}

CommandLineParser::~CommandLineParser() = default;

ParsedWords CommandLineParser::parse(std::vector<std::string> words) {
  return grammar_->parse(std::move(words));
}

}  // namespace qrt
