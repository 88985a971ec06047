#include <fmt/format.h>

#include <string>
#include <string_view>

#include "client/cli/commandline/CommandTables.h"
#include "client/cli/commandline/OperationSentence.h"
#include "client/cli/generated/GeneratedText.h"
#include "operations/QRTPrivilegedOperation.h"

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

/// Where brackets and colons mean something.
std::string zshText(std::string_view text) { return replaced(text, "\\[]:", "\\"); }

void append(std::string& list, std::string_view word) {
  if (!list.empty()) list += ' ';
  list += word;
}

std::string operationNames(const OperationViews& views) {
  std::string names;
  for (const auto& view : views) append(names, view.form.identifier);
  return names;
}

std::string ownNames() {
  std::string names;
  for (const auto& own : ownCommands()) {
    if (!own.isHidden) append(names, own.name);
  }
  return names;
}

std::string optionsOf(const OperationArguments& operation) {
  std::string names;
  for (const auto& argument : operation.arguments) {
    if (isOption(argument)) append(names, argument.name);
  }
  if (takesPathList(operation)) append(names, pathsFromInput.name);
  return names;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words) append(text, word);
  return text;
}

std::string choicesOf(const OperationArguments& operation) {
  std::string words;
  for (const auto& argument : operation.arguments) {
    for (const auto& word : choicesOf(argument)) append(words, word);
  }
  return words;
}

/// What zsh offers for the value of an argument.
std::string zshAction(const ArgumentDescription& argument) {
  if (argument.form == ArgumentForm::path || argument.form == ArgumentForm::fileContents) {
    return "_files";
  }
  const auto choices = choicesOf(argument);
  return choices.empty() ? " " : fmt::format("({})", joined(choices));
}

std::string zshSpecification(const ArgumentDescription& argument) {
  const bool isRepeated =
      argument.occurrence == Occurrence::any || argument.occurrence == Occurrence::oneOrMore;
  const auto* const repetition = isRepeated ? "*" : "";
  const auto help = zshText(argument.help);
  if (!isOption(argument)) {
    return quoted(fmt::format("{}:{}:{}", repetition, zshText(argument.name), zshAction(argument)));
  }
  if (takesNoValue(argument.form)) return quoted(fmt::format("{}[{}]", argument.name, help));
  return quoted(
      fmt::format("{}{}[{}]:value:{}", repetition, argument.name, help, zshAction(argument)));
}

}  // namespace

std::string bashCompletion(const OperationViews& views) {
  std::string general;
  std::string withValue;
  for (const auto& option : generalOptions()) {
    append(general, option.name);
    if (option.flag) continue;
    if (!withValue.empty()) withValue += " | ";
    withValue += option.name;
  }

  std::string cases;
  for (const auto& view : views) {
    cases +=
        fmt::format("    {})\n      options={}\n      choices={}\n      ;;\n", view.form.identifier,
                    quoted(optionsOf(view.form)), quoted(choicesOf(view.form)));
  }
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
    '') choices='{1} {2}' ;;
    explain) choices='{2}' ;;
{3}  esac
  [[ $current != -* ]] || choices="$options {4} --help"
  mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
}}
complete -o default -F _qrtctl qrtctl
)",
                     withValue, ownNames(), operationNames(views), cases, general);
}

std::string zshCompletion(const OperationViews& views) {
  std::string general;
  for (const auto& option : generalOptions()) {
    const auto help = zshText(option.help);
    const auto value = option.flag ? "" : fmt::format(":{}:_files", option.value);
    general += fmt::format("    {}\n", quoted(fmt::format("{}[{}]{}", option.name, help, value)));
  }
  std::string commands;
  const auto addCommand = [&](std::string_view name, std::string_view help) {
    commands += fmt::format("    {}\n", quoted(fmt::format("{}:{}", name, zshText(help))));
  };
  for (const auto& own : ownCommands()) {
    if (!own.isHidden) addCommand(own.name, own.help);
  }
  std::string cases;
  for (const auto& view : views) {
    addCommand(view.form.identifier, sentenceFor(view.operation));
    std::string specifications;
    for (const auto& argument : view.form.arguments) {
      if (!isImplied(argument.form)) specifications += ' ' + zshSpecification(argument);
    }
    if (takesPathList(view.form)) {
      specifications +=
          ' ' + quoted(fmt::format("{}[{}]", pathsFromInput.name, zshText(pathsFromInput.help)));
    }
    cases += fmt::format("    {})\n      _arguments \"$general[@]\"{}\n      ;;\n",
                         view.form.identifier, specifications);
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
    explain)
      _values operation {2}
      ;;
{3}  esac
}}
_qrtctl "$@"
)",
                     general, commands, operationNames(views), cases);
}

std::string fishCompletion(const OperationViews& views) {
  std::string text = "# Completion of qrtctl for fish.\n";
  for (const auto& option : generalOptions()) {
    text += fmt::format("complete -c qrtctl -l {}{} -d {}\n", option.name.substr(2),
                        option.flag ? "" : " -r", fishQuoted(option.help));
  }
  const auto addCommand = [&](std::string_view name, std::string_view help) {
    text += fmt::format("complete -c qrtctl -n __fish_use_subcommand -f -a {} -d {}\n", name,
                        fishQuoted(help));
  };
  for (const auto& own : ownCommands()) {
    if (!own.isHidden) addCommand(own.name, own.help);
  }
  text += fmt::format("complete -c qrtctl -n '__fish_seen_subcommand_from explain' -f -a {}\n",
                      fishQuoted(operationNames(views)));
  for (const auto& view : views) {
    addCommand(view.form.identifier, sentenceFor(view.operation));
    const auto condition =
        fmt::format("complete -c qrtctl -n '__fish_seen_subcommand_from {}'", view.form.identifier);
    for (const auto& argument : view.form.arguments) {
      const auto choices = joined(choicesOf(argument));
      if (isOption(argument)) {
        text += fmt::format("{} -l {}{}{} -d {}\n", condition, argument.name.substr(2),
                            takesNoValue(argument.form) ? "" : " -x",
                            choices.empty() ? "" : " -a " + fishQuoted(choices),
                            fishQuoted(argument.help));
      } else if (!choices.empty()) {
        text += fmt::format("{} -a {}\n", condition, fishQuoted(choices));
      }
    }
    if (takesPathList(view.form)) {
      text += fmt::format("{} -l {} -d {}\n", condition, pathsFromInput.name.substr(2),
                          fishQuoted(pathsFromInput.help));
    }
  }
  return text;
}

}  // namespace qrt
