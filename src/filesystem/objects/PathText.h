// Paths as texts.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// `path` and `component` with one "/" between them; `path` alone when the component is empty.
std::string appendingPathComponent(std::string path, std::string_view component);

}  // namespace qrt
