#include "platform/UtilityPlaces.h"

namespace qrt {

constinit const std::string_view pathOfChown = "/usr/sbin/chown";

}  // namespace qrt
