#include "platform/posix/propertylists/PropertyListProblem.h"

#include <string>

namespace qrt {
namespace {

/// Codes of the Cocoa domain.
constexpr std::int64_t readCorruptError = 3840;
constexpr std::int64_t writeInvalidError = 3851;

Error propertyListError(std::int64_t code, std::string description) {
  return {std::string(cocoaErrorDomain),
          code,
          {{std::string(localizedDescriptionKey), std::move(description)}}};
}

}  // namespace

Error unreadablePropertyList(PropertyListProblem problem, std::string_view place) {
  return propertyListError(readCorruptError, std::string("The property list cannot be read: ") +
                                                 problem.text + " (" + std::string(place) + ").");
}

Error unreadablePropertyList(PropertyListProblem problem) {
  return propertyListError(readCorruptError,
                           std::string("The property list cannot be read: ") + problem.text + ".");
}

Error unwritablePropertyList(PropertyListProblem problem) {
  return propertyListError(
      writeInvalidError, std::string("The property list cannot be written: ") + problem.text + ".");
}

}  // namespace qrt
