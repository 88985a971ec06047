#include "operations/ArgumentConverters.h"

namespace qrt {

bool getBool(bool* value, const std::string& fromStringArgument) {
  if (fromStringArgument != "0" && fromStringArgument != "1") return false;
  if (value) *value = fromStringArgument == "1";
  return true;
}

}  // namespace qrt
