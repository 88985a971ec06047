#include "client/OperationFeedback.h"

#include "protocol/Names.h"

namespace qrt {
namespace {

const PropertyValue* valueIn(const Dictionary& dictionary, std::string_view key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : &found->second;
}

const Number* numberIn(const Dictionary& dictionary, std::string_view key) {
  const auto* value = valueIn(dictionary, key);
  return value ? value->number() : nullptr;
}

Data dataIn(const Dictionary& dictionary, std::string_view key) {
  const auto* value = valueIn(dictionary, key);
  return value && value->data() ? *value->data() : Data();
}

std::string textIn(const Dictionary& dictionary, std::string_view key) {
  const auto* text = stringIn(dictionary, key);
  return text ? *text : std::string();
}

FoundObject foundObject(const Dictionary& record) {
  FoundObject object;
  object.path = textIn(record, file_object_key::path);
  object.type = textIn(record, file_object_key::type);
  if (const auto* size = numberIn(record, file_object_key::size)) object.size = size->asUInt64();
  const auto* date = valueIn(record, file_object_key::modificationDate);
  if (date && date->date()) object.modificationDate = *date->date();
  if (const auto* mode = numberIn(record, file_object_key::mode)) {
    object.mode = static_cast<std::uint32_t>(mode->asUInt64());
  }
  return object;
}

}  // namespace

OperationFeedback operationFeedback(const Dictionary& message) {
  OperationFeedback feedback;
  if (const auto* fraction = numberIn(message, progressFractionKey)) {
    feedback.fraction = fraction->asDouble();
  }
  const auto* records = valueIn(message, fileObjectInfoKey);
  if (records && records->array()) {
    for (const auto& record : *records->array()) {
      if (record.dictionary()) feedback.objects.push_back(foundObject(*record.dictionary()));
    }
  }
  feedback.output = dataIn(message, outputDataKey);
  feedback.errorOutput = dataIn(message, errorDataKey);
  const auto* isFinal = numberIn(message, finalFeedbackMessageKey);
  feedback.isFinal = isFinal && isFinal->asBool();
  return feedback;
}

}  // namespace qrt
