// An access control list on a command line.
#pragma once

#include <string>

#include "base/PropertyValue.h"
#include "client/cli/commandline/UsageError.h"

namespace qrt {

struct Platform;

/// The external form of a list: "@PATH" is the list of another object, "none" is no list, and other
/// words are the list as the system writes it.
UsageResult<Data> accessControlListIn(const std::string& word, const Platform& platform);

}  // namespace qrt
