// An error in a command line.
#pragma once

#include <string>

#include "base/Result.h"

namespace qrt {

/// A sentence without a full stop.
struct UsageError {
  std::string text;
};

template <class T>
using UsageResult = Result<T, UsageError>;

}  // namespace qrt
