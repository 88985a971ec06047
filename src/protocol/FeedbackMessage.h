// The messages of feedback.
#pragma once

#include <variant>

#include "base/PropertyValue.h"
#include "protocol/FileObjectRecords.h"

namespace qrt {

/// A batch of records and the progress of the search.
struct RecordsMessage {
  double fraction = 0;
  FileObjectRecords records;
};

/// A message on its way to a client, which receives a dictionary in each case. Records stay as they
/// are until they are sent: a search sends thousands of them.
using FeedbackMessage = std::variant<Dictionary, RecordsMessage>;

Dictionary dictionaryOf(FeedbackMessage message);

/// "ProgressFraction": the part of the work that is done, from 0 to 1.
Dictionary progressMessage(double fraction);

/// "OutputData" or "ErrorData": the output of a running program.
Dictionary outputMessage(Data output);
Dictionary errorOutputMessage(Data output);

/// Both streams, empty: the first message of an operation with live output.
Dictionary initialOutputMessage();

/// "FileObjectInfo" beside the progress: a batch of records.
Dictionary recordsMessage(double fraction, Array records);

Dictionary finalMessage();

/// True for a message of progress alone, which a newer message may replace.
bool isProgressOnly(const FeedbackMessage& message);
bool isFinalMessage(const FeedbackMessage& message);

}  // namespace qrt
