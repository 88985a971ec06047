#include "platform/posix/TextAgent.h"

namespace qrt {

/// The system shows its dialogs by itself, and nowhere else.
std::unique_ptr<CallerProcess::TextAgent> makeTextAgent() { return nullptr; }

}  // namespace qrt
