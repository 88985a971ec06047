// What can complete the last word of a command line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "client/cli/commandline/OperationDescription.h"

namespace qrt {

struct Candidate {
  std::string word;
  std::string help = {};
};
using Candidates = std::vector<Candidate>;

/// `words` follow the program's name; the last one is to be completed and may be empty. Empty where
/// a path is expected or any text is right.
Candidates candidatesFor(const std::vector<std::string>& words,
                         const OperationDescriptions& operations);

/// One a line: the word, a tab, and its help.
std::string textOf(const Candidates& candidates);

}  // namespace qrt
