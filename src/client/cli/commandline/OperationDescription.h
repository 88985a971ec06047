// Everything about one operation that listings, help and generated documents show.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/PropertyValue.h"
#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/commandline/UsageError.h"
#include "platform/DeclaredRights.h"

namespace qrt {

class QRTPrivilegedOperationSet;
struct SystemFeature;

struct OperationDescription {
  std::uint64_t code;
  /// Its identifier and how its arguments are written.
  const OperationArguments& row;
  /// What it does: "Delete the contents of one or more folders."
  std::string sentence;
  std::string right;
  /// "everybody" or "administrators".
  std::string_view users;
  /// What the operation sends while it runs: "progress", "output", or empty for no feedback.
  std::string_view feedback;
  /// The right's definition and the sentence of its dialog.
  PropertyValue definition = Dictionary();
  std::string dialog = {};
};
using OperationDescriptions = std::vector<OperationDescription>;

/// The operations of the set, in the catalogue's order.
OperationDescriptions describedOperations(const QRTPrivilegedOperationSet& operations);

/// The rule of its right.
RightRule ruleOf(const OperationDescription& operation);

/// For a word that is not the name of an operation.
UsageError unknownOperation(const std::string& word, const OperationDescriptions& operations);

/// What follows the operation's name: "[--recursive] PATH...".
std::string synopsisOf(const OperationArguments& operation);

/// "qrtctl", the operation's name and its synopsis.
std::string commandLineOf(const OperationArguments& operation);

/// Name and meaning of everything that may follow the operation's name.
using ArgumentRow = std::pair<std::string, std::string>;
std::vector<ArgumentRow> argumentRows(const OperationArguments& operation);

/// "sends progress while it runs" or "sends no feedback".
std::string feedbackPhrase(const OperationDescription& operation);

/// The feature that the operation needs and this system lacks, or null.
const SystemFeature* missingFeature(const OperationArguments& operation,
                                    const std::vector<SystemFeature>& features);

/// For the user.
std::string explanationOf(const OperationDescription& operation,
                          const std::vector<SystemFeature>& features);
std::string listOf(const OperationDescriptions& operations);

}  // namespace qrt
