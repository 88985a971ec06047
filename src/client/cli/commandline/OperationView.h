// All that is known of one operation, for listings and documents.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/PropertyValue.h"
#include "client/cli/commandline/OperationArguments.h"

namespace qrt {

class QRTPrivilegedOperation;
class QRTPrivilegedOperationSet;
struct SystemFeature;

struct OperationView {
  std::uint64_t code;
  const OperationArguments& form;
  /// Owned by the operation set.
  const QRTPrivilegedOperation& operation;
  std::string right;
};

/// The operations that the command line offers, in the catalogue's order.
std::vector<OperationView> operationViews(const QRTPrivilegedOperationSet& operations);

/// "[--recursive] PATH...", what stands behind the operation's name.
std::string synopsisOf(const OperationArguments& operation);

/// "qrtctl", the operation's name and its synopsis.
std::string commandLineOf(const OperationArguments& operation);

/// Name and meaning of all that may be written behind the operation's name.
using ArgumentRow = std::pair<std::string, std::string>;
std::vector<ArgumentRow> argumentRows(const OperationArguments& operation);

/// The words that an argument can be; empty when it can be anything.
std::vector<std::string> choicesOf(const ArgumentDescription& description);

/// "everybody" or "administrators".
std::string_view whoMay(const OperationView& view);
/// "progress", "output" or "nothing".
std::string_view toldWhileRunning(const OperationView& view);

/// The feature that the operation needs and this system lacks; null when there is none.
const SystemFeature* missingFeature(const OperationArguments& operation,
                                    const std::vector<SystemFeature>& features);

/// As it is told to a program.
Dictionary recordOf(const OperationView& view, const std::vector<SystemFeature>& features);

/// As it is told to a person.
std::string explanationOf(const OperationView& view, const std::vector<SystemFeature>& features);
std::string listOf(const std::vector<OperationView>& views);

}  // namespace qrt
