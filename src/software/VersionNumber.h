// Versions as numbers that can be compared.
#pragma once

#include <string_view>

namespace qrt {

/// The first run of digits and dots in the text as one number: its first dot is the decimal one,
/// the later ones are left out, so "10.13.6" is 10.136. 0 without such a run.
double versionNumber(std::string_view text);

}  // namespace qrt
