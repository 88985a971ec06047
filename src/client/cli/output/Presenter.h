// How what a command learns is told.
#pragma once

#include <memory>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

class Terminal;

class Presenter {
 public:
  virtual ~Presenter() = default;

  /// Each returns false when nobody can read it any more.
  virtual bool showFeedback(const Dictionary& message) = 0;
  /// The command is done; the answer may be empty.
  virtual bool showAnswer(const Dictionary& answer) = 0;

  /// The command failed. `error` is localized already.
  virtual void showFailure(const Error& error) = 0;
};

/// For a person: output, records and answers on standard output, progress and failures on standard
/// error. `label` names the command there, in colour for a failure on a terminal if `mayColor`.
std::unique_ptr<Presenter> makeTextPresenter(Terminal& terminal, std::string label, bool mayColor);

/// For a program: a line of JSON on standard output for each message and one for the result.
std::unique_ptr<Presenter> makeJsonPresenter(Terminal& terminal);

}  // namespace qrt
