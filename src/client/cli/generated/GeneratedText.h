// Manual pages, completions and the reference, generated from the tables of operations and
// commands.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/cli/commandline/OperationDescription.h"

namespace qrt {

/// Nothing when there is no text of this name.
std::optional<std::string> generatedText(std::string_view name,
                                         const OperationDescriptions& operations);

/// Manual pages in roff.
std::string clientManual(const OperationDescriptions& operations);
std::string daemonManual(const OperationDescriptions& operations);

std::string bashCompletion(const OperationDescriptions& operations);
std::string zshCompletion(const OperationDescriptions& operations);
std::string fishCompletion(const OperationDescriptions& operations);

/// The rights as one file of polkit's actions, for a package.
std::string polkitFile(const OperationDescriptions& operations);

/// Markdown.
std::string operationReference(const OperationDescriptions& operations);

/// The commands in the examples of the manual, one a line.
std::string exampleCommands(const OperationDescriptions& operations);

}  // namespace qrt
