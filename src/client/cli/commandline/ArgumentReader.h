// From the words of a command line to the values of a request.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/commandline/UsageError.h"

namespace qrt {

class CallerProcess;
struct Platform;

/// What the words may refer to.
struct WordContext {
  const CallerProcess& caller;
  const Platform& platform;
};

/// The words given for each description, in the order of the descriptions.
using GivenWords = std::vector<std::vector<std::string>>;

/// The values in the order in which they are sent.
UsageResult<Array> readArguments(std::span<const ArgumentDescription> descriptions,
                                 const GivenWords& words, const WordContext& context);

/// "-" is standard input. Contents that are too large for a message are an error.
UsageResult<Data> contentsOfFile(const std::string& path);

}  // namespace qrt
