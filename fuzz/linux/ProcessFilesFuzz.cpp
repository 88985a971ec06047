// The kernel's text files about processes; part of them is chosen by the process.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/linux/ProcessFiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  const auto name = qrt::commandNameInStat(text);
  if (name && (name->data()[-1] != '(' || name->data()[name->size()] != ')')) std::abort();
  (void)qrt::isZombieInStat(text);
  (void)qrt::startTimeInStat(text);
  (void)qrt::effectiveUserInStatus(text);
  return 0;
}
