// Another process ends the daemon in the middle of an operation.
#pragma once

#include "support/Figures.h"

namespace qrt::test {

/// Plays rounds of all operations of a table for so long.
void judgeEndings(double seconds, unsigned seed, Figures& figures);

}  // namespace qrt::test
