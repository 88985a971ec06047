// The figures of a measurement, each with its limit.
#pragma once

#include <cmath>
#include <cstdio>
#include <string>

namespace qrt::test {

/// Prints a line for each figure: what was measured, the value, the limit, and whether it is kept,
/// with tabs between them.
class Figures {
 public:
  void atMost(const std::string& what, double value, double limit) {
    add(what, value, "at most", limit, value <= limit);
  }
  void atLeast(const std::string& what, double value, double limit) {
    add(what, value, "at least", limit, value >= limit);
  }
  bool areKept() const { return areKept_; }

 private:
  void add(const std::string& what, double value, const char* kind, double limit, bool isKept) {
    const auto rounded = [](double number) { return std::round(number * 10) / 10; };
    std::printf("%s\t%.10g\t%s %.10g\t%s\n", what.c_str(), rounded(value), kind, rounded(limit),
                isKept ? "yes" : "no");
    std::fflush(stdout);
    areKept_ &= isKept;
  }

  bool areKept_ = true;
};

}  // namespace qrt::test
