// The part of the operation set that clients use to show errors. The daemon sends English texts.
#include "operations/PrivilegedOperationError.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "operations/StringTables.h"

namespace qrt {
namespace {

/// Errors nested deeper keep their texts.
constexpr int maximumDepth = 32;

std::vector<std::string> stringsIn(const Dictionary& dictionary, std::string_view key) {
  std::vector<std::string> strings;
  const auto found = dictionary.find(key);
  const auto* array = found == dictionary.end() ? nullptr : found->second.array();
  if (!array) return strings;
  for (const auto& element : *array) {
    // An element of another kind counts as empty, so that the next ones keep their numbers.
    strings.push_back(element.string() ? *element.string() : std::string());
  }
  return strings;
}

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
}

std::string localizedMessage(const std::string& text, const Localization& localization) {
  return QRTPrivilegedOperationSet::localizedUIPolitenessAgnosticStringForKey(
      text, text, QRTPrivilegedOperationSet::nameOfErrorMessageLocalizationTable, localization);
}

void localizeText(Dictionary& userInfo, std::string_view textKey, std::string_view templateKey,
                  std::string_view parametersKey, const Localization& localization) {
  if (const auto* text = stringIn(userInfo, textKey); text && !text->empty()) {
    userInfo.insert_or_assign(std::string(textKey), localizedMessage(*text, localization));
    return;
  }
  const auto* templateText = stringIn(userInfo, templateKey);
  const auto parameters = stringsIn(userInfo, parametersKey);
  if (!templateText || templateText->empty() || parameters.empty()) return;
  userInfo.insert_or_assign(std::string(textKey),
                            QRTPrivilegedOperationSet::localizedStringForTemplate(
                                *templateText, parameters, localization));
}

Error localized(Error error, int depth, const Localization& localization) {
  localizeText(error.userInfo, localizedDescriptionKey, descriptionTemplateKey,
               descriptionParametersKey, localization);
  localizeText(error.userInfo, localizedRecoverySuggestionKey, suggestionTemplateKey,
               suggestionParametersKey, localization);
  const auto underlying = error.userInfo.find(underlyingErrorKey);
  if (underlying != error.userInfo.end() && underlying->second.error() && depth > 0) {
    underlying->second = localized(*underlying->second.error(), depth - 1, localization);
  }
  return error;
}

}  // namespace

Outcome QRTPrivilegedOperationSet::localizedErrorForPrivilegedOperationError(
    const Outcome& error, const Localization& localization) {
  if (!error) return success;
  return localized(*error, maximumDepth, localization);
}

std::string QRTPrivilegedOperationSet::localizedUIPolitenessAgnosticStringForKey(
    const std::string& key, const std::string& value, std::string_view table,
    const Localization& localization) {
  auto& tables = localization.tables;
  if (localization.shouldUIUsePoliteForms) {
    const auto polite = std::string(table.empty() ? StringTables::defaultTable : table) + "-Polite";
    if (tables.contains(polite)) return tables.localizedStringForKey(key, value, polite);
  }
  return tables.localizedStringForKey(key, value, table);
}

std::string QRTPrivilegedOperationSet::localizedStringForTemplate(
    const std::string& templateText, const std::vector<std::string>& parameters,
    const Localization& localization) {
  auto text = localizedMessage(templateText, localization);
  std::size_t index = 0;
  for (const auto& parameter : parameters) {
    replaceAll(text, "$" + std::to_string(++index) + "$", parameter);
  }
  return text;
}

}  // namespace qrt
