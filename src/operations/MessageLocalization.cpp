#include "operations/MessageLocalization.h"

#include "operations/PrivilegedOperationError.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "operations/StringTables.h"

namespace qrt {
namespace {

/// Errors underneath errors that are looked at; deeper ones stay as they are.
constexpr int maximumDepth = 32;

std::vector<std::string> stringsIn(const Dictionary& dictionary, std::string_view key) {
  std::vector<std::string> strings;
  const auto found = dictionary.find(key);
  const auto* array = found == dictionary.end() ? nullptr : found->second.array();
  if (!array) return strings;
  for (const auto& element : *array) {
    // A foreign element keeps its place, so that those behind it keep theirs.
    strings.push_back(element.string() ? *element.string() : std::string());
  }
  return strings;
}

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
}

}  // namespace

Outcome MessageLocalization::localizedErrorForPrivilegedOperationError(const Outcome& error) const {
  if (!error) return success;
  return localized(*error, maximumDepth);
}

std::string MessageLocalization::localizedUIPolitenessAgnosticStringForKey(
    const std::string& key, const std::string& value, std::string_view table) const {
  if (shouldUIUsePoliteForms_) {
    const auto polite = std::string(table.empty() ? StringTables::defaultTable : table) + "-Polite";
    if (tables_.contains(polite)) return tables_.localizedStringForKey(key, value, polite);
  }
  return tables_.localizedStringForKey(key, value, table);
}

std::string MessageLocalization::localizedStringForTemplate(
    const std::string& templateText, const std::vector<std::string>& parameters) const {
  auto text = localizedUIPolitenessAgnosticStringForKey(
      templateText, templateText, QRTPrivilegedOperationSet::nameOfErrorMessageLocalizationTable);
  std::size_t index = 0;
  for (const auto& parameter : parameters) {
    replaceAll(text, "$" + std::to_string(++index) + "$", parameter);
  }
  return text;
}

Error MessageLocalization::localized(Error error, int depth) const {
  localizeText(error.userInfo, localizedDescriptionKey, descriptionTemplateKey,
               descriptionParametersKey);
  localizeText(error.userInfo, localizedRecoverySuggestionKey, suggestionTemplateKey,
               suggestionParametersKey);
  const auto underlying = error.userInfo.find(underlyingErrorKey);
  if (underlying != error.userInfo.end() && underlying->second.error() && depth > 0) {
    underlying->second = localized(*underlying->second.error(), depth - 1);
  }
  return error;
}

void MessageLocalization::localizeText(Dictionary& userInfo, std::string_view textKey,
                                       std::string_view templateKey,
                                       std::string_view parametersKey) const {
  if (const auto* text = stringIn(userInfo, textKey); text && !text->empty()) {
    auto translation = localizedUIPolitenessAgnosticStringForKey(
        *text, *text, QRTPrivilegedOperationSet::nameOfErrorMessageLocalizationTable);
    userInfo.insert_or_assign(std::string(textKey), std::move(translation));
    return;
  }
  const auto* templateText = stringIn(userInfo, templateKey);
  const auto parameters = stringsIn(userInfo, parametersKey);
  if (!templateText || templateText->empty() || parameters.empty()) return;
  userInfo.insert_or_assign(std::string(textKey),
                            localizedStringForTemplate(*templateText, parameters));
}

}  // namespace qrt
