#include "platform/linux/authority/Asker.h"

#include <array>

namespace qrt {

bool waitForAsker(const Asker& asker, pollfd awaited, int milliseconds) {
  std::array waiting{awaited, pollfd{asker.processHandle.get(), POLLIN, 0},
                     pollfd{asker.connection, 0, 0}};
  if (poll(waiting.data(), waiting.size(), milliseconds) <= 0) return true;
  return waiting[1].revents == 0 && (waiting[2].revents & (POLLHUP | POLLERR)) == 0;
}

}  // namespace qrt
