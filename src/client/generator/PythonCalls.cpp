#include <string>

#include "client/generator/Generator.h"

namespace qrt {
namespace {

std::string literalOf(const OperationParameter& parameter) {
  std::string words;
  for (const auto& choice : choicesOf(parameter)) {
    words += (words.empty() ? "\"" : ", \"") + choice.first + "\"";
  }
  return "Literal[" + words + "]";
}

std::string typeOf(const OperationParameter& parameter) {
  switch (parameter.kind) {
    case ParameterKind::path:
      return "StrPath";
    case ParameterKind::paths:
      return "Iterable[StrPath]";
    case ParameterKind::texts:
    case ParameterKind::taggedTexts:
      return "Iterable[str]";
    case ParameterKind::number:
      return "int";
    case ParameterKind::flag:
    case ParameterKind::textFlag:
      return "bool";
    case ParameterKind::choice:
      return literalOf(parameter);
    case ParameterKind::choices:
      return "Iterable[" + literalOf(parameter) + "]";
    case ParameterKind::data:
      return "bytes";
    default:
      return "str";
  }
}

std::string defaultOf(const OperationParameter& parameter) {
  switch (parameter.kind) {
    case ParameterKind::number:
      return "0";
    case ParameterKind::flag:
    case ParameterKind::textFlag:
      return "False";
    case ParameterKind::texts:
    case ParameterKind::taggedTexts:
      return "()";
    default:
      return "\"\"";
  }
}

std::string signatureOf(const Call& call) {
  auto text = "    def " + snakeCase(call.row.identifier) + "(self";
  bool isAfterStar = false;
  for (const auto& parameter : call.passed) {
    if (parameter.isOptional && !isAfterStar) text += ", *";
    isAfterStar = isAfterStar || parameter.isOptional;
    text += ", " + snakeCase(parameter.name) + ": " + typeOf(parameter);
    if (parameter.isOptional) text += " = " + defaultOf(parameter);
  }
  if (call.hasFeedback()) return text + ") -> Running:\n";
  return text + (call.row.answerKey.empty() ? ") -> None:\n" : ") -> int:\n");
}

/// {"file": "F"}, with numbers unquoted.
std::string mapOf(const OperationParameter& parameter) {
  const std::string quote = parameter.kind == ParameterKind::choice ? "\"" : "";
  const auto entryOf = [&](const std::string& word, const std::string& value) {
    return "\"" + word + "\": " + quote + value + quote;
  };
  std::string entries;
  for (const auto& [word, value] : choicesOf(parameter)) {
    if (!entries.empty()) entries += ", ";
    entries += entryOf(word, value);
  }
  return "{" + entries + "}";
}

/// The elements of a list that a parameter is sent as.
std::string valuesOf(const OperationParameter& parameter) {
  const auto name = snakeCase(parameter.name);
  switch (parameter.kind) {
    case ParameterKind::path:
      return "_values.path(" + name + ")";
    case ParameterKind::paths:
      return "*_values.paths(" + name + ")";
    case ParameterKind::texts:
      return "*_values.texts(" + name + ")";
    case ParameterKind::taggedTexts:
      return "*_values.tagged(\"" + std::string(parameter.detail) + "\", " + name + ")";
    case ParameterKind::number:
      return "_values.number(" + name + ")";
    case ParameterKind::flag:
      return "_values.flag(" + name + ")";
    case ParameterKind::textFlag:
      return "_values.text_flag(" + name + ")";
    case ParameterKind::choice:
      return "_values.text(" + mapOf(parameter) + "[" + name + "])";
    case ParameterKind::choices:
      return "_values.total(" + mapOf(parameter) + ", " + name + ")";
    case ParameterKind::data:
      return "_values.data(" + name + ")";
    case ParameterKind::ownProcess:
      return "_values.own_process()";
    case ParameterKind::requestor:
      return "_values.text(\"privilegerequestor\")";
    case ParameterKind::text:
      return "_values.text(" + name + ")";
  }
  return "";
}

std::string definitionOf(const Call& call) {
  auto text = signatureOf(call) + "        \"\"\"" + sentenceOf(call.operation.userPresentation);
  if (!call.row.answer.empty())
    text += "\n\n        Returns " + std::string(call.row.answer) + ".\n        ";
  text += "\"\"\"\n";
  std::string values;
  for (const auto& parameter : call.row.parameters) {
    values += (values.empty() ? "" : ", ") + valuesOf(parameter);
  }
  const auto request = std::to_string(call.operation.code) + ", [" + values + "]";
  if (call.hasFeedback()) return text + "        return self._start(" + request + ")\n";
  if (call.row.answerKey.empty()) return text + "        self._perform(" + request + ")\n";
  return text + "        return self._ask(" + request + ", \"" + std::string(call.row.answerKey) +
         "\")\n";
}

}  // namespace

std::string pythonModule(const std::vector<Call>& calls) {
  std::string text = R"("""The operations. Generated from the catalogue; changes are lost."""

from __future__ import annotations

from typing import Iterable, Literal

from . import _values
from ._running import Running
from ._values import StrPath, Variant


class Operations:
    """One method for each operation."""

    def _start(self, code: int, values: list[Variant]) -> Running:
        raise NotImplementedError

    def _perform(self, code: int, values: list[Variant]) -> None:
        raise NotImplementedError

    def _ask(self, code: int, values: list[Variant], key: str) -> int:
        raise NotImplementedError
)";
  for (const auto& call : calls) text += "\n" + definitionOf(call);
  return text;
}

}  // namespace qrt
