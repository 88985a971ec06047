#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "client/cli/commandline/CommandTables.h"
#include "client/cli/generated/GeneratedText.h"

namespace qrt {
namespace {

std::string replaced(std::string_view text, std::string_view marks, std::string_view prefix) {
  std::string result;
  for (const char c : text) {
    if (marks.find(c) != std::string_view::npos) result += prefix;
    result += c;
  }
  return result;
}

/// In single quotes, as bash and zsh read them.
std::string quoted(std::string_view text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result + '\'';
}

std::string fishQuoted(std::string_view text) {
  return fmt::format("'{}'", replaced(text, "\\'", "\\"));
}

/// For places where brackets and colons have a meaning.
std::string zshText(std::string_view text) { return replaced(text, "\\[]:", "\\"); }

/// A list of words with blanks between them.
class WordList {
 public:
  void add(std::string_view word) {
    if (!text_.empty()) text_ += ' ';
    text_ += word;
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

std::string operationNames(const OperationDescriptions& operations) {
  WordList names;
  for (const auto& operation : operations) names.add(operation.row.identifier);
  return names.text();
}

std::string optionsOf(const OperationArguments& operation) {
  WordList names;
  for (const auto& argument : operation.arguments) {
    if (isOption(argument)) names.add(argument.name);
  }
  if (const auto* own = clientOptionOf(operation)) names.add(own->name);
  return names.text();
}

std::string choicesIn(std::span<const ArgumentDescription> arguments) {
  WordList words;
  for (const auto& argument : arguments) {
    for (const auto& choice : choicesOf(argument)) words.add(choice.word);
  }
  return words.text();
}

struct NamedHelp {
  std::string_view name;
  std::string_view help;
};

/// The built-in commands and the operations.
std::vector<NamedHelp> commandsWithHelp(const OperationDescriptions& operations) {
  std::vector<NamedHelp> commands;
  for (const auto& builtIn : builtInCommands()) {
    if (!builtIn.isHidden) commands.push_back({builtIn.name, builtIn.help});
  }
  for (const auto& operation : operations) {
    commands.push_back({operation.row.identifier, operation.sentence});
  }
  return commands;
}

std::string bashCases(const OperationDescriptions& operations) {
  std::string cases;
  for (const auto& operation : operations) {
    const auto& row = operation.row;
    cases += fmt::format("    {})\n      options={}\n      choices={}\n      ;;\n", row.identifier,
                         quoted(optionsOf(row)), quoted(choicesIn(row.arguments)));
  }
  return cases;
}

std::string zshGeneralOptions() {
  std::string lines;
  for (const auto& option : generalOptions()) {
    const auto value = option.flag ? "" : fmt::format(":{}:_files", option.value);
    const auto entry = fmt::format("{}[{}]{}", option.name, zshText(option.help), value);
    lines += fmt::format("    {}\n", quoted(entry));
  }
  return lines;
}

/// What zsh offers for the value of an argument.
std::string zshAction(const ArgumentDescription& argument) {
  using enum ArgumentForm;
  const auto fileForms = {path, pathWithOption, utilityWord, fileContents};
  if (std::find(fileForms.begin(), fileForms.end(), argument.form) != fileForms.end()) {
    return "_files";
  }
  const auto choices = choicesIn({&argument, 1});
  return choices.empty() ? " " : fmt::format("({})", choices);
}

std::string zshSpecification(const ArgumentDescription& argument) {
  const auto* const repetition = isRepeatable(argument) ? "*" : "";
  const auto help = zshText(argument.help);
  if (!isOption(argument)) {
    return fmt::format("{}:{}:{}", repetition, zshText(argument.name), zshAction(argument));
  }
  if (isFlag(argument.form)) return fmt::format("{}[{}]", argument.name, help);
  return fmt::format("{}{}[{}]:value:{}", repetition, argument.name, help, zshAction(argument));
}

std::string zshCases(const OperationDescriptions& operations) {
  std::string cases;
  for (const auto& operation : operations) {
    const auto& row = operation.row;
    std::string specifications;
    for (const auto& argument : row.arguments) {
      if (!isImplied(argument.form)) specifications += ' ' + quoted(zshSpecification(argument));
    }
    if (const auto* own = clientOptionOf(row)) {
      specifications += ' ' + quoted(fmt::format("{}[{}]", own->name, zshText(own->help)));
    }
    cases += fmt::format("    {})\n      _arguments \"$general[@]\"{}\n      ;;\n", row.identifier,
                         specifications);
  }
  return cases;
}

/// Offers after this operation what `line`, the rest of the command, describes.
std::string fishLine(const OperationArguments& operation, std::string_view line) {
  return fmt::format("complete -c qrtctl -n '__fish_seen_subcommand_from {}' {}\n",
                     operation.identifier, line);
}

std::string fishLine(const OperationArguments& operation, const ArgumentDescription& argument) {
  const auto choices = choicesIn({&argument, 1});
  const auto offered = choices.empty() ? "" : "-a " + fishQuoted(choices);
  if (!isOption(argument)) return choices.empty() ? "" : fishLine(operation, offered);
  return fishLine(
      operation,
      fmt::format("-l {}{}{} -d {}", argument.name.substr(2), isFlag(argument.form) ? "" : " -x",
                  choices.empty() ? "" : " " + offered, fishQuoted(argument.help)));
}

}  // namespace

std::string bashCompletion(const OperationDescriptions& operations) {
  WordList general;
  std::string withValue;
  for (const auto& option : generalOptions()) {
    general.add(option.name);
    if (option.flag) continue;
    if (!withValue.empty()) withValue += " | ";
    withValue += option.name;
  }
  WordList commands;
  for (const auto& [name, help] : commandsWithHelp(operations)) commands.add(name);
  return fmt::format(R"(# Completion of qrtctl for bash.
_qrtctl() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD - 1]}}
  local command= options= choices= i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case ${{COMP_WORDS[i]}} in
      {0}) ((++i)) ;;
      -*) ;;
      *)
        command=${{COMP_WORDS[i]}}
        break
        ;;
    esac
  done
  case $previous in
    {0}) return ;;
  esac
  case $command in
    '') choices='{1}' ;;
    explain | help) choices='{2}' ;;
{3}  esac
  [[ $current != -* ]] || choices="$options {4} --help"
  mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
}}
complete -o default -F _qrtctl qrtctl
)",
                     withValue, commands.text(), operationNames(operations), bashCases(operations),
                     general.text());
}

std::string zshCompletion(const OperationDescriptions& operations) {
  std::string commands;
  for (const auto& [name, help] : commandsWithHelp(operations)) {
    commands += fmt::format("    {}\n", quoted(fmt::format("{}:{}", name, zshText(help))));
  }
  return fmt::format(R"(#compdef qrtctl
# Completion of qrtctl for zsh.
_qrtctl() {{
  local context state state_descr line
  typeset -A opt_args
  local -a general=(
{0}  )
  local -a commands=(
{1}  )
  _arguments -C "$general[@]" '1:command:->command' '*::argument:->argument'
  if [[ $state == command ]]; then
    _describe command commands
    return
  fi
  [[ $state == argument ]] || return
  case $words[1] in
    explain|help)
      _values operation {2}
      ;;
{3}  esac
}}
_qrtctl "$@"
)",
                     zshGeneralOptions(), commands, operationNames(operations),
                     zshCases(operations));
}

std::string fishCompletion(const OperationDescriptions& operations) {
  std::string text = "# Completion of qrtctl for fish.\n";
  for (const auto& option : generalOptions()) {
    text += fmt::format("complete -c qrtctl -l {}{} -d {}\n", option.name.substr(2),
                        option.flag ? "" : " -r", fishQuoted(option.help));
  }
  for (const auto& [name, help] : commandsWithHelp(operations)) {
    text += fmt::format("complete -c qrtctl -n __fish_use_subcommand -f -a {} -d {}\n", name,
                        fishQuoted(help));
  }
  text += fmt::format("complete -c qrtctl -n '__fish_seen_subcommand_from explain help' -f -a {}\n",
                      fishQuoted(operationNames(operations)));
  for (const auto& operation : operations) {
    const auto& row = operation.row;
    for (const auto& argument : row.arguments) text += fishLine(row, argument);
    if (const auto* own = clientOptionOf(row)) {
      text += fishLine(row, fmt::format("-l {} -d {}", own->name.substr(2), fishQuoted(own->help)));
    }
  }
  return text;
}

}  // namespace qrt
