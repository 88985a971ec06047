#include "platform/UtilityPlaces.h"

namespace qrt {

constinit const std::string_view pathOfChown = "/usr/bin/chown";

}  // namespace qrt
