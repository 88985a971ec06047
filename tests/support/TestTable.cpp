#include "support/TestTable.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace qrt::test {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> fields;
  std::istringstream rest(text + separator);
  for (std::string field; std::getline(rest, field, separator);) fields.push_back(field);
  return fields;
}

std::vector<std::vector<std::string>> rowsOfTable(const std::string& file) {
  std::ifstream table(QRT_TESTS + file);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(table, line);) {
    if (!line.starts_with('#')) rows.push_back(split(line, '\t'));
  }
  EXPECT_FALSE(rows.empty()) << file;
  return rows;
}

std::string unescaped(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscaped = text[i] == '%';
    bytes += isEscaped
                 ? static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16))
                 : text[i];
    if (isEscaped) i += 2;
  }
  return bytes;
}

}  // namespace qrt::test
