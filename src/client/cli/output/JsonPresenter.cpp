#include <utility>

#include "client/cli/output/Json.h"
#include "client/cli/output/Presenter.h"
#include "platform/Terminal.h"

namespace qrt {
namespace {

class JsonPresenter : public Presenter {
 public:
  explicit JsonPresenter(Terminal& terminal) : terminal_(terminal) {}

  bool showFeedback(const Dictionary& message) override {
    return write({{"feedback", jsonOf(message)}});
  }

  bool showAnswer(const Dictionary& answer) override {
    Json result{{"done", true}};
    if (!answer.empty()) result["answer"] = jsonOf(answer);
    return write(result);
  }

  void showFailure(const Error& error) override {
    write({{"done", false}, {"error", jsonOf(error)}});
  }

 private:
  bool write(const Json& json) { return terminal_.write(StandardStream::output, lineOf(json)); }

  Terminal& terminal_;
};

}  // namespace

std::unique_ptr<Presenter> makeJsonPresenter(Terminal& terminal) {
  return std::make_unique<JsonPresenter>(terminal);
}

}  // namespace qrt
