#include <fmt/format.h>

#include <string>
#include <string_view>

#include "client/cli/generated/GeneratedText.h"
#include "client/cli/output/FoldedText.h"

namespace qrt {
namespace {

constexpr std::size_t noteWidth = 90;

constexpr std::string_view introduction =
    R"(# Operations

Generated from the catalogue by `qrtctl generate reference`; do not edit.

Each operation has a code, an authorization right and a list of arguments. The command line is that of `qrtctl`; the
table below it shows the arguments as they are sent, in this order ([wire.md](wire.md) has the types).

)";

struct Kind {
  std::string_view letters;
  std::string_view name;
};

constexpr Kind kinds[] = {
    {"S", "string"}, {"N", "number"}, {"D", "data"}, {"SS", "string, string"}};

std::string_view kindOf(ArgumentForm form) {
  for (const auto& kind : kinds) {
    if (kind.letters == typeLettersOf(form)) return kind.name;
  }
  return "";
}

std::string_view timesOf(Occurrence occurrence) {
  switch (occurrence) {
    case Occurrence::once:
    case Occurrence::optional:
      return "1";
    case Occurrence::oneOrMore:
      return "1 or more";
    case Occurrence::any:
      return "any";
  }
  return "";
}

/// How the sent value differs from the written one.
std::string sentAs(const ArgumentDescription& argument) {
  switch (argument.form) {
    case ArgumentForm::path:
      return "An absolute path";
    case ArgumentForm::pathWithOption:
      return fmt::format("With `{}` an absolute path", argument.detail);
    case ArgumentForm::taggedText:
      return fmt::format("`\"{}\"`, then the text", argument.detail);
    case ArgumentForm::choice:
    case ArgumentForm::bits:
      return fmt::format("`{}`{}", argument.detail,
                         argument.form == ArgumentForm::bits ? ", added up" : "");
    case ArgumentForm::textFlag:
      return "`\"1\"` or `\"0\"`";
    case ArgumentForm::clientFlag:
      return "Not sent: the client refuses such paths otherwise";
    case ArgumentForm::constant:
      return "Name of the requestor";
    case ArgumentForm::numberFlag:
    case ArgumentForm::onOff:
      return "A boolean";
    case ArgumentForm::ownProcess:
      return "The requestor's process identifier";
    case ArgumentForm::fourCharacters:
      return "The characters' bytes as a number, the first one highest";
    case ArgumentForm::signal:
      return "The system's own number";
    case ArgumentForm::accessControlList:
      return "The system's external form";
    case ArgumentForm::fileContents:
    case ArgumentForm::text:
    case ArgumentForm::device:
    case ArgumentForm::utility:
    case ArgumentForm::utilityWord:
    case ArgumentForm::number:
    case ArgumentForm::count:
      return "";
  }
  return "";
}

/// Escapes bars, which would end the cell of a table.
std::string cell(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '|') result += '\\';
    result += c;
  }
  return result;
}

std::string rowOf(const ArgumentDescription& argument) {
  const bool isSum = argument.form == ArgumentForm::bits;
  return fmt::format("| {} | {} | {} | {} | {} |\n",
                     argument.name.empty() ? "" : fmt::format("`{}`", argument.name),
                     kindOf(argument.form), isSum ? "1" : timesOf(argument.occurrence),
                     cell(argument.help), cell(sentAs(argument)));
}

std::string sectionOf(const OperationDescription& operation) {
  auto text = fmt::format("## {}\n\n{}\n\n", operation.row.identifier, operation.sentence);
  text += fmt::format("    {}\n\n", commandLineOf(operation.row));
  text += fmt::format("Code {}, right `{}` for {}; {}.\n\n", operation.code, operation.right,
                      operation.users, feedbackPhrase(operation));
  if (operation.row.arguments.empty()) return text;
  text += "| Argument | Type | Times | Meaning | Sent as |\n|---|---|---|---|---|\n";
  for (const auto& argument : operation.row.arguments) text += rowOf(argument);
  if (!operation.row.note.empty()) text += "\n" + folded(operation.row.note, noteWidth);
  return text + '\n';
}

}  // namespace

std::string operationReference(const OperationDescriptions& operations) {
  std::string text(introduction);
  for (const auto& operation : operations) text += sectionOf(operation);
  text.pop_back();
  return text;
}

}  // namespace qrt
