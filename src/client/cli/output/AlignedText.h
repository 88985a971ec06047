// Lines with aligned columns.
#pragma once

#include <string>
#include <vector>

namespace qrt {

class AlignedText {
 public:
  /// The last cell of a line does not widen its column.
  void add(std::vector<std::string> cells) { lines_.push_back(std::move(cells)); }
  std::string text() const;

 private:
  std::vector<std::vector<std::string>> lines_;
};

}  // namespace qrt
