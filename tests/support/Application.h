// An application that uses a daemon of a test's own through the requestor library.
#pragma once

#include "client/Requestor.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/NativePlatform.h"
#include "platform/Platform.h"

namespace qrt::test {

struct Application {
  const NativePlatform native;
  const QRTPrivilegedOperationSetVK2 operations{native.facilities().log,
                                                native.facilities().authority};

  Result<std::unique_ptr<Requestor>> connect(const std::string& address, int process) const {
    return Requestor::connect(native.facilities(), address, process, operations);
  }
};

/// Each text that begins with "/" becomes a path below `folder`.
inline Array below(const std::string& folder, Array arguments) {
  for (auto& argument : arguments) {
    const auto* const text = argument.string();
    if (text && text->starts_with("/")) argument = folder + *text;
  }
  return arguments;
}

}  // namespace qrt::test
