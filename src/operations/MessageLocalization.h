// Messages in the user's language.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"

namespace qrt {

class StringTables;

/// Errors travel with English texts; this is for the side that shows them. Thread-safe.
class MessageLocalization {
 public:
  /// With polite forms a table named "<table>-Polite" takes the place of a table where there is
  /// one.
  MessageLocalization(StringTables& tables, bool shouldUIUsePoliteForms)
      : tables_(tables), shouldUIUsePoliteForms_(shouldUIUsePoliteForms) {}

  /// The same error with its texts, and those of the errors underneath it, in the user's language
  /// and with the parameters in the place of "$1$", "$2$", ...
  Outcome localizedErrorForPrivilegedOperationError(const Outcome& error) const;

  std::string localizedUIPolitenessAgnosticStringForKey(const std::string& key,
                                                        const std::string& value,
                                                        std::string_view table) const;

  /// Parameters are inserted one after another, each into the whole text: a placeholder inside a
  /// parameter is replaced by the later one it names.
  std::string localizedStringForTemplate(const std::string& templateText,
                                         const std::vector<std::string>& parameters) const;

 private:
  Error localized(Error error, int depth) const;
  void localizeText(Dictionary& userInfo, std::string_view textKey, std::string_view templateKey,
                    std::string_view parametersKey) const;

  StringTables& tables_;
  const bool shouldUIUsePoliteForms_;
};

}  // namespace qrt
