// What the user may have meant by a word that is not known.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace qrt {

/// "; did you mean NAME?" or "; did you mean one of: NAME, NAME?" with the names that contain the
/// word or differ from it by few letters; empty when no name is near.
std::string proposalFor(std::string_view word, std::span<const std::string_view> names);

}  // namespace qrt
