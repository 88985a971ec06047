// How feedback, answers and failures are printed: as text or as JSON lines.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "client/cli/output/ProgressDisplay.h"

namespace qrt {

class Terminal;

class Presenter {
 public:
  virtual ~Presenter() = default;

  /// These two return false when the output cannot be written.
  virtual bool showFeedback(const Dictionary& message) = 0;
  /// The command succeeded. The answer may be empty.
  virtual bool showAnswer(const Dictionary& answer) = 0;

  /// The command failed. `error` is already localized.
  virtual void showFailure(const Error& error) = 0;
};

/// How the record of an object that was found is written: as a line for the user, or as its path
/// and a zero byte.
enum class RecordForm { line, path };

struct TextStyle {
  /// Whether labels may have colour on a terminal.
  bool mayColor = false;
  ProgressForm progress = ProgressForm::none;
  RecordForm records = RecordForm::line;
};

/// Text for the user: output, records and answers go to standard output, progress and failures to
/// standard error, after `label`.
/// `isStopping`, which outlives the presenter, is set when the user has asked for the end.
std::unique_ptr<Presenter> makeTextPresenter(Terminal& terminal, std::string label, TextStyle style,
                                             const std::atomic<bool>& isStopping);

/// JSON for a program: on standard output one line for each message and one for the result.
std::unique_ptr<Presenter> makeJsonPresenter(Terminal& terminal);

}  // namespace qrt
