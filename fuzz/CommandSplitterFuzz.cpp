// Files of commands.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/ShellWord.h"
#include "client/cli/commandline/CommandSplitter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  // Not followed by a zero byte, so that reading beyond the end is noticed.
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  const auto commands = qrt::splitCommands(text);
  if (!commands) {
    const auto& [line, problem, isIncomplete] = commands.error();
    if (line == 0 || problem.empty()) std::abort();
    return 0;
  }

  // The same commands, quoted again, have the same words.
  std::string quoted;
  for (const auto& [line, words] : *commands) {
    if (line == 0 || words.empty()) std::abort();
    for (const auto& word : words) quoted += qrt::quotedWord(word) + ' ';
    quoted += '\n';
  }
  const auto again = qrt::splitCommands(quoted);
  if (!again || again->size() != commands->size()) std::abort();
  for (std::size_t i = 0; i < commands->size(); ++i) {
    if ((*again)[i].words != (*commands)[i].words) std::abort();
  }
  return 0;
}
