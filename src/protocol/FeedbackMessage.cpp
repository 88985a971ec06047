#include "protocol/FeedbackMessage.h"

#include "protocol/Names.h"

namespace qrt {
namespace {

bool holds(const Dictionary& entries, std::string_view key) {
  return entries.find(key) != entries.end();
}

}  // namespace

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

bool isProgressOnly(const FeedbackMessage& message) {
  const auto* entries = std::get_if<Dictionary>(&message);
  return entries && entries->size() == 1 && holds(*entries, progressFractionKey);
}

bool isFinalMessage(const FeedbackMessage& message) {
  const auto* entries = std::get_if<Dictionary>(&message);
  return entries && holds(*entries, finalFeedbackMessageKey);
}

Dictionary dictionaryOf(FeedbackMessage message) {
  if (auto* entries = std::get_if<Dictionary>(&message)) return std::move(*entries);
  const auto& [fraction, records] = std::get<RecordsMessage>(message);
  Array values;
  values.reserve(records.count());
  for (std::size_t i = 0; i < records.count(); ++i) values.emplace_back(dictionaryOf(records[i]));
  return recordsMessage(fraction, std::move(values));
}

}  // namespace qrt
