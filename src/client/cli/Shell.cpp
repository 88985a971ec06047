#include "client/cli/Shell.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/Terminal.h"

namespace qrt {
namespace {

constexpr const char* prompt = "qrtctl> ";
constexpr const char* promptForMore = "> ";

class Shell {
 public:
  Shell(Terminal& terminal, LineEditor::Completer completer, const CommandRunner& run)
      : terminal_(terminal), editor_(makeLineEditor(std::move(completer))), run_(run) {}

  ExitStatus run() {
    while (!hasEnded_) {
      const auto line = readLine();
      if (line.kind == TypedLine::Kind::end) break;
      if (line.kind == TypedLine::Kind::interrupted) {
        text_.clear();
        continue;
      }
      ++lines_;
      take(line.text);
    }
    if (!text_.empty()) report(*unfinished_);
    return status_;
  }

 private:
  TypedLine readLine() {
    if (editor_) return editor_->readLine(text_.empty() ? prompt : promptForMore);
    auto line = terminal_.readLine();
    if (!line) return {};
    return {TypedLine::Kind::line, std::move(*line)};
  }

  void take(const std::string& line) {
    if (text_.empty()) {
      firstLine_ = lines_;
    } else {
      text_ += '\n';
    }
    text_ += line;
    auto commands = splitCommands(text_);
    if (!commands && commands.error().isIncomplete) {
      unfinished_ = commands.error();
      return;
    }
    if (editor_ && !text_.empty()) editor_->remember(text_);
    text_.clear();
    if (!commands) return report(commands.error());
    for (auto& command : *commands) {
      command.line += firstLine_ - 1;
      perform(command);
    }
  }

  void perform(const SplitCommand& command) {
    hasEnded_ = command.words.size() == 1 && command.words.front() == "exit";
    if (!hasEnded_) status_ = run_(command);
  }

  void report(const SplitProblem& problem) {
    terminal_.write(
        StandardStream::error,
        fmt::format("qrtctl: line {}: {}\n", problem.line + firstLine_ - 1, problem.text));
    status_ = ExitStatus::usage;
  }

  Terminal& terminal_;
  /// Null without a terminal.
  std::unique_ptr<LineEditor> editor_;
  const CommandRunner& run_;
  /// Lines of a command that is not complete yet, and why it is not.
  std::string text_;
  std::optional<SplitProblem> unfinished_;
  std::size_t lines_ = 0;
  std::size_t firstLine_ = 1;
  ExitStatus status_ = ExitStatus::done;
  bool hasEnded_ = false;
};

}  // namespace

ExitStatus runShell(Terminal& terminal, LineEditor::Completer completer, const CommandRunner& run) {
  return Shell(terminal, std::move(completer), run).run();
}

}  // namespace qrt
