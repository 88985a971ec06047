// From the words of a command line to the values of a request.
#pragma once

#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/commandline/UsageError.h"

namespace qrt {

class CallerProcess;
struct Platform;

/// What words may refer to.
struct WordContext {
  const CallerProcess& caller;
  const Platform& platform;
};

/// The words given for each description, in the order of the descriptions.
using GivenWords = std::vector<std::vector<std::string>>;

/// The values in the order in which they are sent.
UsageResult<Array> readArguments(const std::vector<ArgumentDescription>& descriptions,
                                 const GivenWords& words, const WordContext& context);

/// The words on standard input, each ended by a zero byte; the last one may lack it.
UsageResult<std::vector<std::string>> wordsOnStandardInput();

/// The path below the current folder when it is relative. Links and ".." are not resolved; an empty
/// path stays empty.
UsageResult<std::string> absolutePath(const std::string& path, const CallerProcess& caller);

}  // namespace qrt
