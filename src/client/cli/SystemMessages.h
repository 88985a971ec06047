// Words for errors of the platform's own domains, which carry none.
#pragma once

#include <string>

#include "base/Error.h"

namespace qrt {

/// The error's own description, else what its domain and code mean.
std::string descriptionForPerson(const Error& error);

}  // namespace qrt
