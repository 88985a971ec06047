// A requestor's end that keeps what a program wrote.
#pragma once

#include <string>

#include "protocol/FeedbackConnection.h"
#include "protocol/Names.h"

namespace qrt::test {

class TextOutput : public FeedbackConnection {
 public:
  const std::string& output() const { return output_; }
  const std::string& error() const { return error_; }
  /// The kinds of messages that carried nothing, in order: "o" and "e".
  const std::string& empties() const { return empties_; }

  qrt::Outcome open(Dictionary) override { return success; }
  void suspend() override {}

  void processPrivilegedOperationFeedback(Dictionary message) override {
    const auto& [key, value] = *message.begin();
    const bool isError = key == errorDataKey;
    const auto& data = *value.data();
    if (data.empty()) empties_ += isError ? 'e' : 'o';
    (isError ? error_ : output_).append(data.begin(), data.end());
  }

 private:
  std::string output_;
  std::string error_;
  std::string empties_;
};

}  // namespace qrt::test
