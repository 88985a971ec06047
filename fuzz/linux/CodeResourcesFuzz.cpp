// Lists of sealed files, and the patterns in them.
#include <cstdlib>

#include "platform/linux/signing/SealedResources.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto list = qrt::ResourceList::read({bytes, size});
  if (!list) return 0;
  qrt::SigningBudget budget{.patterns = 1'000};
  for (const auto* path : {"Info.plist", "Resources/en.lproj/a", "x/.DS_Store", "aaaaaaaaaaaaab"}) {
    list->allows(path, budget);
  }
  // Nothing is allowed that the budget cannot pay for, unless there is no rule.
  qrt::SigningBudget spent{.patterns = 0};
  if (list->allows("a", spent) && budget.patterns < 1'000) std::abort();
  return 0;
}
