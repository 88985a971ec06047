// Names of objects inside a sentence.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// The name on one line, in quotation marks unless it is plain. Control characters and bytes that
/// are no text are escaped, as are "\" and quotation marks, so that a name cannot end its
/// quotation. At most 60 characters are left, without the middle of a longer name.
std::string shownName(std::string_view name);

/// The text without its middle if it has more than 60 characters.
std::string shortened(std::string_view text);

}  // namespace qrt
