// Documents and completions that are made from the tables of operations and commands.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/cli/commandline/OperationView.h"

namespace qrt {

using OperationViews = std::vector<OperationView>;

/// None when there is no text of this name.
std::optional<std::string> generatedText(std::string_view name, const OperationViews& views);

/// Manual pages in roff.
std::string clientManual(const OperationViews& views);
std::string daemonManual(const OperationViews& views);

std::string bashCompletion(const OperationViews& views);
std::string zshCompletion(const OperationViews& views);
std::string fishCompletion(const OperationViews& views);

/// Markdown.
std::string operationReference(const OperationViews& views);

/// The commands that the manual shows, a line each.
std::string exampleCommands(const OperationViews& views);

}  // namespace qrt
