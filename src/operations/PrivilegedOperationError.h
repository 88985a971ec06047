// Errors of the program's own domain, and the keys of their texts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"

namespace qrt {

inline constexpr std::string_view privilegedOperationErrorDomain =
    "com.vantor.error.privileged-operation";

/// Texts with placeholders "$1$", "$2$", ..., and the values for them.
inline constexpr std::string_view descriptionTemplateKey = "QRTLocalizedDescriptionTemplate";
inline constexpr std::string_view descriptionParametersKey = "QRTLocalizedDescriptionParameters";
inline constexpr std::string_view suggestionTemplateKey = "QRTLocalizedRecoverySuggestionTemplate";
inline constexpr std::string_view suggestionParametersKey =
    "QRTLocalizedRecoverySuggestionParameters";

/// The texts are English. They are also the keys of their translations.
Error privilegedOperationError(std::int64_t code, std::string_view description,
                               std::string_view suggestion);

/// With placeholders in the suggestion.
Error privilegedOperationError(std::int64_t code, std::string_view description,
                               std::string_view suggestionTemplate,
                               const std::vector<std::string>& parameters);

/// The result of an inspection: code 0 and the answer as user information.
Error privilegedOperationAnswer(Dictionary answer);

/// Adds the path that an error is about, or its cause.
Error withFilePath(Error error, std::string_view path);
Error withUnderlyingError(Error error, Error cause);

}  // namespace qrt
