// Lines that a user types at a terminal, with editing, history and completion.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qrt {

struct TypedLine {
  enum class Kind { line, interrupted, end };

  Kind kind = Kind::end;
  std::string text;
};

class LineEditor {
 public:
  /// Texts that can replace the last `replacedBytes` before the cursor.
  struct Completions {
    std::size_t replacedBytes = 0;
    std::vector<std::string> texts;
  };
  using Completer = std::function<Completions(std::string_view beforeCursor)>;

  virtual ~LineEditor() = default;

  /// Without the line feed. An interruption (Ctrl-C) drops what was typed.
  virtual TypedLine readLine(const std::string& prompt) = 0;
  /// Adds to the history, which ends with the editor.
  virtual void remember(const std::string& line) = 0;
};

/// Null when standard input or standard output is not a terminal. One editor at a time.
std::unique_ptr<LineEditor> makeLineEditor(LineEditor::Completer completer);

}  // namespace qrt
