#include "platform/ForeignException.h"

namespace qrt {

/// No library that the daemon uses throws in another language.
ForeignException handledForeignException() { return {}; }

}  // namespace qrt
