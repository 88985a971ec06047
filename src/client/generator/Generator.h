// The typed calls of the client libraries, generated from the catalogue and the names of the
// arguments. Runs on the machine that builds, so it uses nothing but these two tables.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "operations/OperationCatalogue.h"
#include "operations/OperationParameters.h"

namespace qrt {

struct Call {
  const QRTPrivilegedOperationStaticDescription& operation;
  const OperationParameters& row;
  /// What the caller passes: first what it must pass, in the order of the table.
  std::vector<OperationParameter> passed;

  bool hasFeedback() const {
    return operation.capabilities.progressFeedback || operation.capabilities.liveOutput;
  }
};

/// In the catalogue's order. Empty when the two tables do not have the same rows.
std::vector<Call> calls();

/// Word and value of each of a choice's words.
std::vector<std::pair<std::string, std::string>> choicesOf(const OperationParameter& parameter);

/// "delete-files" as "deleteFiles", "DeleteFiles" and "delete_files".
std::string camelCase(std::string_view words);
std::string typeCase(std::string_view words);
std::string snakeCase(std::string_view words);

std::string cppHeader(const std::vector<Call>& calls);
std::string cppSource(const std::vector<Call>& calls);
std::string pythonModule(const std::vector<Call>& calls);

}  // namespace qrt
