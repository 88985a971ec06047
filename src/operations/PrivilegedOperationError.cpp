#include "operations/PrivilegedOperationError.h"

namespace qrt {

Error privilegedOperationError(std::int64_t code, std::string_view description,
                               std::string_view suggestion) {
  return {std::string(privilegedOperationErrorDomain),
          code,
          {{std::string(localizedDescriptionKey), description},
           {std::string(localizedRecoverySuggestionKey), suggestion}}};
}

Error privilegedOperationError(std::int64_t code, std::string_view description,
                               std::string_view suggestionTemplate,
                               const std::vector<std::string>& parameters) {
  return {std::string(privilegedOperationErrorDomain),
          code,
          {{std::string(localizedDescriptionKey), description},
           {std::string(suggestionTemplateKey), suggestionTemplate},
           {std::string(suggestionParametersKey), Array(parameters.begin(), parameters.end())}}};
}

Error privilegedOperationAnswer(Dictionary answer) {
  return {std::string(privilegedOperationErrorDomain), 0, std::move(answer)};
}

Error withFilePath(Error error, std::string_view path) {
  error.userInfo.insert_or_assign(std::string(filePathErrorKey), path);
  return error;
}

Error withUnderlyingError(Error error, Error cause) {
  error.userInfo.insert_or_assign(std::string(underlyingErrorKey), std::move(cause));
  return error;
}

}  // namespace qrt
