// Tables of cases, in files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrt::test {

/// The fields between tabs of each row of a file in tests/. Lines that begin with "#" are comments.
std::vector<std::vector<std::string>> rowsOfTable(const std::string& file);

std::vector<std::string> split(const std::string& text, char separator);

/// Each "%0A" as the byte with that number.
std::string unescaped(std::string_view text);

}  // namespace qrt::test
