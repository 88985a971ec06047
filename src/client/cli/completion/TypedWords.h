// Completion of what a user types in "qrtctl shell".
#pragma once

#include <string_view>

#include "client/cli/commandline/OperationDescription.h"
#include "platform/LineEditor.h"

namespace qrt {

/// For the word at the end of `beforeCursor`, with the quotes that it needs: what
/// `candidatesFor` knows, else the objects of the current folder or of the one that is typed.
LineEditor::Completions completionsFor(std::string_view beforeCursor,
                                       const OperationDescriptions& operations);

}  // namespace qrt
