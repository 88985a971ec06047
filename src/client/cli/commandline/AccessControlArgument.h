// Access control lists as people name them.
#pragma once

#include <string>

#include "base/PropertyValue.h"
#include "client/cli/commandline/UsageError.h"

namespace qrt {

struct Platform;

/// The external form of the list that a word stands for: "@PATH" for the list of another object,
/// "none" for no list, anything else for the list written that way.
UsageResult<Data> accessControlListIn(const std::string& word, const Platform& platform);

}  // namespace qrt
