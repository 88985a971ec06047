// The messages of feedback.
#pragma once

#include "base/PropertyValue.h"

namespace qrt {

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
bool isProgressOnly(const Dictionary& message);

}  // namespace qrt
