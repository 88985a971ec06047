#include "base/ShellWord.h"

#include <algorithm>

namespace qrt {
namespace {

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("_-+=:,./@%").find(c) != std::string_view::npos;
}

}  // namespace

std::string quotedWord(std::string_view word) {
  if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return std::string(word);
  std::string quoted = "'";
  for (const char c : word) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

}  // namespace qrt
