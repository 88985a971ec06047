// What one process does in an attack.
#pragma once

#include "attacks/linux/Scene.h"
#include "base/PropertyValue.h"
#include "integration/linux/RawClient.h"

namespace qrt::test {

inline constexpr std::uint64_t touchFileobject = 6, nop = 9998;
/// The registrations of this client cause the lines that "log" floods the log with.
inline constexpr int floodedClient = 4711;

struct Act {
  const char* name;
  /// Returns when the scene is over, or waits to be killed.
  void (*play)(const Scene& scene);
};
/// Null for a name that no act has.
const Act* actNamed(const std::string& name);

/// A client after its handshake, if the daemon serves it.
RawClient connectedClient(const std::string& socketPath);

}  // namespace qrt::test
