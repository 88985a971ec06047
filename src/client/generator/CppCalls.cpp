#include <string>

#include "client/generator/Generator.h"

namespace qrt {
namespace {

constexpr std::string_view notice = "// Generated from the catalogue; changes are lost.\n";

std::string choiceType(const Call& call, const OperationParameter& parameter) {
  return typeCase(call.row.identifier) + typeCase(parameter.name);
}

bool isChoice(const OperationParameter& parameter) {
  return parameter.kind == ParameterKind::choice || parameter.kind == ParameterKind::choices;
}

std::string argumentsType(const Call& call) { return typeCase(call.row.identifier) + "Arguments"; }

std::string memberType(const Call& call, const OperationParameter& parameter) {
  switch (parameter.kind) {
    case ParameterKind::paths:
    case ParameterKind::texts:
    case ParameterKind::taggedTexts:
      return "std::vector<std::string>";
    case ParameterKind::number:
      return "std::int64_t";
    case ParameterKind::flag:
    case ParameterKind::textFlag:
      return "bool";
    case ParameterKind::choice:
      return choiceType(call, parameter);
    case ParameterKind::choices:
      return "std::vector<" + choiceType(call, parameter) + ">";
    case ParameterKind::data:
      return "Data";
    default:
      return "std::string";
  }
}

/// The words of a choice are letters that are sent, those of a sum are numbers.
std::string choiceDefinition(const Call& call, const OperationParameter& parameter) {
  const bool isLetter = parameter.kind == ParameterKind::choice;
  auto text = "enum class " + choiceType(call, parameter) + (isLetter ? " : char {\n" : " {\n");
  for (const auto& [word, value] : choicesOf(parameter)) {
    text += "  " + camelCase(word) + " = " + (isLetter ? "'" + value + "'" : value) + ",\n";
  }
  return text + "};\n\n";
}

std::string typesOf(const Call& call) {
  if (call.passed.empty()) return "";
  std::string text;
  std::string members;
  for (const auto& parameter : call.passed) {
    if (isChoice(parameter)) text += choiceDefinition(call, parameter);
    members += "  " + memberType(call, parameter) + " " + camelCase(parameter.name) + " = {};\n";
  }
  return text + "struct " + argumentsType(call) + " {\n" + members + "};\n\n";
}

/// "Outcome nop(const AuthorizationPresentation& presentation = {})". A definition has no defaults.
std::string signatureOf(const Call& call, const std::string& scope) {
  const bool isDeclaration = scope.empty();
  auto text = std::string(call.row.answerKey.empty() ? "Outcome " : "Result<std::int64_t> ") +
              scope + camelCase(call.row.identifier) + "(";
  if (!call.passed.empty()) text += "const " + argumentsType(call) + "& arguments, ";
  if (call.hasFeedback()) {
    text += std::string("const OnFeedback& onFeedback") + (isDeclaration ? " = {}, " : ", ");
  }
  return text + "const AuthorizationPresentation& presentation" + (isDeclaration ? " = {})" : ")");
}

std::string declarationOf(const Call& call) {
  auto text = "  /// " + sentenceOf(call.operation.userPresentation) + "\n";
  if (!call.row.answer.empty()) text += "  /// Returns " + std::string(call.row.answer) + ".\n";
  return text + "  " + signatureOf(call, "") + ";\n";
}

std::string additionOf(const OperationParameter& parameter) {
  const auto member = "arguments." + camelCase(parameter.name);
  switch (parameter.kind) {
    case ParameterKind::path:
      return "addPath(" + member + ")";
    case ParameterKind::paths:
      return "addPaths(" + member + ")";
    case ParameterKind::texts:
      return "addTexts(" + member + ")";
    case ParameterKind::taggedTexts:
      return "addTagged(\"" + std::string(parameter.detail) + "\", " + member + ")";
    case ParameterKind::textFlag:
      return "addTextFlag(" + member + ")";
    case ParameterKind::choice:
      return "add(std::string(1, static_cast<char>(" + member + ")))";
    case ParameterKind::choices:
      return "addSum(" + member + ")";
    case ParameterKind::ownProcess:
      return "add(sender_->processIdentifier())";
    case ParameterKind::requestor:
      return "add(requestorName)";
    default:
      return "add(" + member + ")";
  }
}

std::string definitionOf(const Call& call) {
  auto text = signatureOf(call, "OperationCalls::") + " {\n  auto values = sender_->arguments();\n";
  for (const auto& parameter : call.row.parameters) {
    text += "  values." + additionOf(parameter) + ";\n";
  }
  const auto request = "sender_->request(\"" + std::string(call.row.identifier) +
                       "\", std::move(values), " + (call.hasFeedback() ? "onFeedback" : "{}") +
                       ", presentation)";
  if (call.row.answerKey.empty()) return text + "  return " + request + ";\n}\n\n";
  return text + "  return answerOf(" + request + ", \"" + std::string(call.row.answerKey) +
         "\");\n}\n\n";
}

}  // namespace

std::string cppHeader(const std::vector<Call>& calls) {
  std::string text(notice);
  text += R"(#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "base/Result.h"
#include "client/AuthorizationPresentation.h"
#include "client/OperationFeedback.h"

namespace qrt {

class CallSender;

)";
  for (const auto& call : calls) text += typesOf(call);
  text +=
      R"(/// One function for each operation, which waits for the outcome without a time limit. A relative
/// path is below the folder that was current when the requestor was made.
class OperationCalls {
 public:
)";
  for (const auto& call : calls) text += declarationOf(call) + "\n";
  return text + R"( protected:
  explicit OperationCalls(std::unique_ptr<CallSender> sender);
  OperationCalls(OperationCalls&&) noexcept;
  OperationCalls& operator=(OperationCalls&&) noexcept;
  ~OperationCalls();

  std::unique_ptr<CallSender> sender_;
};

}  // namespace qrt
)";
}

std::string cppSource(const std::vector<Call>& calls) {
  std::string text(notice);
  text += R"(#include "client/OperationCalls.h"

#include <string>
#include <utility>

#include "client/CallSender.h"

namespace qrt {
namespace {

constexpr const char* requestorName = "privilegerequestor";

}  // namespace

OperationCalls::OperationCalls(std::unique_ptr<CallSender> sender) : sender_(std::move(sender)) {}
OperationCalls::OperationCalls(OperationCalls&&) noexcept = default;
OperationCalls& OperationCalls::operator=(OperationCalls&&) noexcept = default;
OperationCalls::~OperationCalls() = default;

)";
  for (const auto& call : calls) text += definitionOf(call);
  return text + "}  // namespace qrt\n";
}

}  // namespace qrt
