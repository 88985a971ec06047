// Writes the typed calls of one kind to standard output: generator header|source|python.
#include <iostream>
#include <string_view>

#include "client/generator/Generator.h"

int main(int count, char** words) {
  const auto calls = qrt::calls();
  if (calls.empty()) {
    std::cerr << "The names of the arguments do not fit the catalogue.\n";
    return 1;
  }
  const std::string_view kind = count == 2 ? words[1] : "";
  if (kind == "header") {
    std::cout << qrt::cppHeader(calls);
  } else if (kind == "source") {
    std::cout << qrt::cppSource(calls);
  } else if (kind == "python") {
    std::cout << qrt::pythonModule(calls);
  } else {
    std::cerr << "Usage: generator header|source|python\n";
    return 2;
  }
  return std::cout.flush() ? 0 : 1;
}
