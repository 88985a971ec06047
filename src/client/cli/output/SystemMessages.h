// Words for errors, and errors of this program itself.
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"

namespace qrt {

/// The error's own description, or else the meaning of its domain and code.
std::string descriptionForPerson(const Error& error);

/// The same without the domain, the code and a final full stop: "No such file or directory".
std::string reasonForPerson(const Error& error);

/// A failure of this program itself.
Error describedError(PosixCode code, std::string_view description,
                     std::string_view suggestion = {});

}  // namespace qrt
