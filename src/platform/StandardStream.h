// The two streams that a program writes to.
#pragma once

namespace qrt {

enum class StandardStream { output, error };

}  // namespace qrt
