// The words of qrtctl, with zero bytes between them. Nothing is sent.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "client/cli/commandline/CommandLine.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/CallerProcess.h"
#include "platform/NativePlatform.h"
#include "platform/Platform.h"

namespace {

using namespace qrt;

const NativePlatform native;
const auto& platform = native.facilities();
const QRTPrivilegedOperationSetVK2 operations(platform.log, platform.authority);

/// What would be sent fits the catalogue.
void checkValues(const OperationUse& use) {
  static const auto caller = makeNativeCallerProcess();
  const auto& arguments = use.operation.row.arguments;
  const bool readsFiles = std::any_of(arguments.begin(), arguments.end(), [](const auto& argument) {
    return argument.form == ArgumentForm::fileContents;
  });
  if (readsFiles) return;
  const auto values = readArguments(arguments, use.words, {*caller, platform});
  if (!values) return values.error().text.empty() ? std::abort() : void();
  const auto& operation =
      operations.implementedOperations().at(use.operation.row.identifier.data());
  const auto letters = operation.argumentTypeCodes().value_or(std::string(values->size(), 'S'));
  if (values->size() != letters.size()) std::abort();
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const auto& value = (*values)[i];
    const char letter = value.string() ? 'S' : value.number() ? 'N' : value.data() ? 'D' : '?';
    if (letter != letters[i]) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const auto descriptions = describedOperations(operations);
  static CommandLineParser parser(descriptions);
  std::vector<std::string> words(1);
  for (const char c : std::string(bytes, bytes + size)) {
    c == '\0' ? void(words.emplace_back()) : words.back().push_back(c);
  }
  const auto parsed = parser.parse(words);
  if (const auto* error = std::get_if<UsageError>(&parsed)) {
    if (error->text.empty()) std::abort();
  } else if (const auto* command = std::get_if<Command>(&parsed)) {
    if (const auto* use = std::get_if<OperationUse>(&command->use)) checkValues(*use);
  }
  return 0;
}
