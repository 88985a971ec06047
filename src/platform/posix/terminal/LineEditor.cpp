#include "platform/LineEditor.h"

#include <histedit.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace qrt {
namespace {

constexpr int historyLength = 1000;

volatile sig_atomic_t wasInterrupted = 0;
void noteInterruption(int) { wasInterrupted = 1; }

/// While it lives, SIGINT makes a waiting read return instead of ending the process.
class InterruptibleRead {
 public:
  InterruptibleRead() {
    wasInterrupted = 0;
    struct sigaction handling {};
    handling.sa_handler = noteInterruption;
    ::sigaction(SIGINT, &handling, &previous_);
  }
  InterruptibleRead(const InterruptibleRead&) = delete;
  InterruptibleRead& operator=(const InterruptibleRead&) = delete;
  ~InterruptibleRead() { ::sigaction(SIGINT, &previous_, nullptr); }

 private:
  struct sigaction previous_ {};
};

std::string commonBeginning(const std::vector<std::string>& texts) {
  auto common = texts.front();
  for (const auto& text : texts) {
    const auto [end, ignored] =
        std::mismatch(common.begin(), common.end(), text.begin(), text.end());
    common.erase(end, common.end());
  }
  // A part of a character is no text.
  const auto isInsideCharacter = [&] {
    return (static_cast<unsigned char>(texts.front()[common.size()]) & 0xC0) == 0x80;
  };
  while (common.size() < texts.front().size() && isInsideCharacter()) common.pop_back();
  return common;
}

/// How many characters the library counts in bytes that it has returned.
int charactersIn(const std::string& bytes) {
  const auto count = std::mbstowcs(nullptr, bytes.c_str(), 0);
  return static_cast<int>(count == static_cast<std::size_t>(-1) ? bytes.size() : count);
}

class LibeditEditor : public LineEditor {
 public:
  explicit LibeditEditor(Completer completer)
      : completer_(std::move(completer)),
        editor_(el_init("qrtctl", stdin, stdout, stderr)),
        history_(history_init()) {
    HistEvent event;
    history(history_.get(), &event, H_SETSIZE, historyLength);
    history(history_.get(), &event, H_SETUNIQUE, 1);
    auto* const editor = editor_.get();
    el_set(editor, EL_CLIENTDATA, this);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 1);
    el_set(editor, EL_PROMPT, promptOf);
    el_set(editor, EL_HIST, history, history_.get());
    el_set(editor, EL_ADDFN, "complete", "Complete the word", complete);
    el_set(editor, EL_BIND, "^I", "complete", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  }

  TypedLine readLine(const std::string& prompt) override {
    prompt_ = prompt;
    const InterruptibleRead guard;
    int length = 0;
    const char* const line = el_gets(editor_.get(), &length);
    if (wasInterrupted != 0) {
      std::fputc('\n', stdout);
      el_reset(editor_.get());
      return {TypedLine::Kind::interrupted, {}};
    }
    if (!line || length <= 0) {
      std::fputs("\n", stdout);
      return {};
    }
    std::string text(line, static_cast<std::size_t>(length));
    if (text.ends_with('\n')) text.pop_back();
    return {TypedLine::Kind::line, std::move(text)};
  }

  void remember(const std::string& line) override {
    HistEvent event;
    history(history_.get(), &event, H_ENTER, line.c_str());
  }

 private:
  static LibeditEditor& ownerOf(EditLine* editor) {
    void* owner = nullptr;
    el_get(editor, EL_CLIENTDATA, &owner);
    return *static_cast<LibeditEditor*>(owner);
  }

  static char* promptOf(EditLine* editor) { return ownerOf(editor).prompt_.data(); }

  static unsigned char complete(EditLine* editor, int) {
    const auto* const line = el_line(editor);
    const std::string before(line->buffer, line->cursor);
    const auto [replacedBytes, texts] = ownerOf(editor).completer_(before);
    if (texts.empty() || replacedBytes > before.size()) return CC_ERROR;
    const auto written = before.substr(before.size() - replacedBytes);
    const auto common = commonBeginning(texts);
    if (common.size() > written.size() || (texts.size() == 1 && common != written)) {
      if (const int count = charactersIn(written); count > 0) el_deletestr(editor, count);
      if (el_insertstr(editor, common.c_str()) != 0) return CC_ERROR;
      return CC_REFRESH;
    }
    std::fputc('\n', stdout);
    for (const auto& text : texts) std::fprintf(stdout, "%s\n", text.c_str());
    return CC_REDISPLAY;
  }

  struct End {
    void operator()(EditLine* editor) const { el_end(editor); }
    void operator()(History* history) const { history_end(history); }
  };

  Completer completer_;
  std::string prompt_;
  std::unique_ptr<EditLine, End> editor_;
  std::unique_ptr<History, End> history_;
};

}  // namespace

std::unique_ptr<LineEditor> makeLineEditor(LineEditor::Completer completer) {
  if (::isatty(STDIN_FILENO) != 1 || ::isatty(STDOUT_FILENO) != 1) return nullptr;
  return std::make_unique<LibeditEditor>(std::move(completer));
}

}  // namespace qrt

#ifdef __SANITIZE_ADDRESS__
// The library never frees the name and the description of a function that is added to it.
extern "C" const char* __lsan_default_suppressions() { return "leak:wcsdup"; }
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
#endif
