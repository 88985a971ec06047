// Words for errors that carry none.
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"

namespace qrt {

/// The error's own description, else what its domain and code mean.
std::string descriptionForPerson(const Error& error);

/// A failure of this program itself, in its own words.
Error describedError(PosixCode code, std::string_view description,
                     std::string_view suggestion = {});

}  // namespace qrt
