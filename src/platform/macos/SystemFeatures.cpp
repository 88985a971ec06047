#include "platform/SystemFeatures.h"

namespace qrt {

std::vector<SystemFeature> systemFeatures() {
  return {
      {"immutable flags", true, false, "part of every system"},
      {"firmware variables", true, false, "part of every system"},
      {"management controller", true, false, "part of every system"},
      {"IPv6", true, false, "part of every system"},
      {"installer programs", true, false, "part of every system"},
      {"dialogs", true, false, "the system shows them by itself"},
  };
}

AuthorityInUse authorityInUse() { return {"Authorization Services", true}; }

}  // namespace qrt
