// Commands that a user types, one after the other.
#pragma once

#include "client/cli/Batch.h"
#include "platform/LineEditor.h"

namespace qrt {

class Terminal;

/// Reads commands until the input ends or "exit", with an editor if standard input is a terminal.
/// Returns the status of the last command.
ExitStatus runShell(Terminal& terminal, LineEditor::Completer completer, const CommandRunner& run);

}  // namespace qrt
