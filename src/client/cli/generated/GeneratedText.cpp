#include "client/cli/generated/GeneratedText.h"

#include "client/cli/commandline/CommandTables.h"

namespace qrt {
namespace {

struct Text {
  std::string_view name;
  std::string (*make)(const OperationDescriptions&);
};

constexpr Text texts[] = {
    {"man", clientManual},         {"daemon-man", daemonManual}, {"bash", bashCompletion},
    {"zsh", zshCompletion},        {"fish", fishCompletion},     {"reference", operationReference},
    {"examples", exampleCommands}, {"polkit", polkitFile},
};

}  // namespace

std::optional<std::string> generatedText(std::string_view name,
                                         const OperationDescriptions& operations) {
  for (const auto& text : texts) {
    if (text.name == name) return text.make(operations);
  }
  return std::nullopt;
}

std::string exampleCommands(const OperationDescriptions&) {
  std::string lines;
  for (const auto& example : commandExamples()) {
    lines += example.command;
    lines += '\n';
  }
  return lines;
}

}  // namespace qrt
