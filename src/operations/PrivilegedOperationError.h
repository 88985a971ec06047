// Errors of the program's own domain and the keys their texts travel under.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"

namespace qrt {

inline constexpr std::string_view privilegedOperationErrorDomain =
    "com.vantor.error.privileged-operation";

/// Texts with placeholders "$1$", "$2$", ... and the values that replace them.
inline constexpr std::string_view descriptionTemplateKey = "QRTLocalizedDescriptionTemplate";
inline constexpr std::string_view descriptionParametersKey = "QRTLocalizedDescriptionParameters";
inline constexpr std::string_view suggestionTemplateKey = "QRTLocalizedRecoverySuggestionTemplate";
inline constexpr std::string_view suggestionParametersKey =
    "QRTLocalizedRecoverySuggestionParameters";

/// The English texts are also the keys of their translations, so errors travel unlocalized.
Error privilegedOperationError(std::int64_t code, std::string_view description,
                               std::string_view suggestion);

/// The same with a suggestion that has placeholders.
Error privilegedOperationError(std::int64_t code, std::string_view description,
                               std::string_view suggestionTemplate,
                               const std::vector<std::string>& parameters);

/// A result that is a value: code 0, and the answer in the user information.
Error privilegedOperationAnswer(Dictionary answer);

/// Adds what an error is about or what caused it.
Error withFilePath(Error error, std::string_view path);
Error withUnderlyingError(Error error, Error cause);

}  // namespace qrt
