// The dictionaries that feedback is made of.
#pragma once

#include "base/PropertyValue.h"

namespace qrt {

/// "ProgressFraction": what part of the work is done, from 0 to 1.
Dictionary progressMessage(double fraction);

/// "OutputData" or "ErrorData": what a running program wrote.
Dictionary outputMessage(Data output);
Dictionary errorOutputMessage(Data output);

/// Both streams with nothing in them: the first message of an operation with live output.
Dictionary initialOutputMessage();

/// "FileObjectInfo" beside the progress: a batch of records.
Dictionary recordsMessage(double fraction, Array records);

Dictionary finalMessage();

/// True for a message that carries nothing but progress; a newer one replaces it.
bool isProgressOnly(const Dictionary& message);

}  // namespace qrt
