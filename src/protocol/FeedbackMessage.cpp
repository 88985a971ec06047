#include "protocol/FeedbackMessage.h"

#include "protocol/Names.h"

namespace qrt {

Dictionary progressMessage(double fraction) {
  return {{std::string(progressFractionKey), fraction}};
}

Dictionary outputMessage(Data output) { return {{std::string(outputDataKey), std::move(output)}}; }

Dictionary errorOutputMessage(Data output) {
  return {{std::string(errorDataKey), std::move(output)}};
}

Dictionary initialOutputMessage() {
  return {{std::string(outputDataKey), Data()}, {std::string(errorDataKey), Data()}};
}

Dictionary recordsMessage(double fraction, Array records) {
  auto message = progressMessage(fraction);
  message.emplace(fileObjectInfoKey, std::move(records));
  return message;
}

Dictionary finalMessage() { return {{std::string(finalFeedbackMessageKey), true}}; }

bool isProgressOnly(const Dictionary& message) {
  return message.size() == 1 && message.find(progressFractionKey) != message.end();
}

}  // namespace qrt
