// Words of a command line of sh.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// One word for sh, and for commands that "qrtctl" reads; as it is when it needs no quotes.
std::string quotedWord(std::string_view word);

}  // namespace qrt
