#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>
#include <variant>

#include "base/Printable.h"
#include "client/cli/output/AnswerText.h"
#include "client/cli/output/Color.h"
#include "client/cli/output/ErrorText.h"
#include "client/cli/output/ExitStatus.h"
#include "client/cli/output/Presenter.h"
#include "client/cli/output/ProgressDisplay.h"
#include "client/cli/output/RecordText.h"
#include "platform/Terminal.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

std::string_view textOf(const Data& data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

class TextPresenter : public Presenter {
 public:
  TextPresenter(Terminal& terminal, std::string label, TextStyle style,
                const std::atomic<bool>& isStopping)
      : terminal_(terminal),
        label_(std::move(label)),
        style_(style),
        isStopping_(isStopping),
        enough_(terminal.isTerminal(StandardStream::output) ? 0 : 64 << 10) {
    tzset();  // The lines of records show local time.
  }

  bool showFeedback(const Dictionary& message) override {
    bool isRead = true;
    for (const auto& [key, value] : message) isRead = show(key, value) && isRead;
    return isRead;
  }

  bool showAnswer(const Dictionary& answer) override {
    endProgress(true);
    bool isRead = writeCollected();
    for (const auto& [key, value] : answer) {
      // A single value is printed without its name.
      const auto name = answer.size() == 1 ? "" : printable(key) + ": ";
      isRead = write(StandardStream::output, name + answerText(key, value) + '\n') && isRead;
    }
    return isRead;
  }

  void showFailure(const Error& error) override {
    endProgress(false);
    writeCollected();
    // The program has printed the reason itself, unless a signal ended it.
    if (statusOfProgram(error) && !signalOfProgram(error)) return;
    const bool isColored = style_.mayColor && terminal_.isTerminal(StandardStream::error);
    const auto label = isColored ? colored(Color::red, label_) : label_;
    const auto signal = signalOfProgram(error);
    const auto text = signal ? fmt::format("The program was killed by signal {} ({}).\n", *signal,
                                           strsignal(*signal))
                             : errorText(error);
    terminal_.write(StandardStream::error, fmt::format("{}: {}", label, text));
  }

 private:
  bool show(std::string_view key, const PropertyValue& value) {
    if (key == outputDataKey && value.data()) {
      return writeCollected() && write(StandardStream::output, textOf(*value.data()));
    }
    if (key == errorDataKey && value.data()) {
      return write(StandardStream::error, textOf(*value.data()));
    }
    if (key == fileObjectInfoKey && value.array()) return writeRecords(*value.array());
    if (key == progressFractionKey && value.number()) setFraction(value.number()->asDouble());
    return true;
  }

  void setFraction(double fraction) {
    if (!progress_) {
      progress_ = makeProgressDisplay(style_.progress, terminal_, label_, isStopping_);
    }
    // A value that is not a number fails the comparison and counts as 0.
    if (progress_) progress_->setFraction(fraction > 0 ? std::min(fraction, 1.0) : 0);
  }

  bool writeRecords(const Array& records) {
    if (progress_) progress_->addFound(records.size());
    for (const auto& record : records) {
      if (!record.dictionary()) continue;
      if (style_.records == RecordForm::line) {
        appendRecordText(lines_, *record.dictionary());
      } else if (const auto* path = stringIn(*record.dictionary(), file_object_key::path)) {
        lines_.append(*path).push_back('\0');
      }
    }
    return lines_.size() < enough_ || writeCollected();
  }

  bool writeCollected() {
    const bool isRead = write(StandardStream::output, lines_);
    lines_.clear();
    return isRead;
  }

  bool write(StandardStream stream, std::string_view bytes) {
    if (bytes.empty()) return true;
    if (progress_ && terminal_.isTerminal(stream)) progress_->makeRoom();
    return terminal_.write(stream, bytes);
  }

  void endProgress(bool isDone) {
    if (progress_) progress_->end(isDone);
    progress_.reset();
  }

  Terminal& terminal_;
  std::string label_;
  const TextStyle style_;
  const std::atomic<bool>& isStopping_;
  /// The bytes of lines that are written at once. A user at a terminal sees each batch as it
  /// arrives.
  const std::size_t enough_;
  /// Of records, not written yet.
  std::string lines_;
  std::unique_ptr<ProgressDisplay> progress_;
};

}  // namespace

std::unique_ptr<Presenter> makeTextPresenter(Terminal& terminal, std::string label, TextStyle style,
                                             const std::atomic<bool>& isStopping) {
  return std::make_unique<TextPresenter>(terminal, std::move(label), style, isStopping);
}

}  // namespace qrt
