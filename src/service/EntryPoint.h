// From the command line to the service.
#pragma once

#include <functional>
#include <iosfwd>
#include <span>
#include <string_view>

#include "base/PropertyValue.h"
#include "platform/Platform.h"

namespace qrt {

class QRTPrivilegedOperationSet;

struct EntryPoint {
  const Platform& platform;
  /// The program's own Info.plist.
  const Dictionary& infoDictionary;
  /// Adds the handlers just before the service starts. It does not start when an operation is left
  /// without a handler.
  std::function<void(QRTPrivilegedOperationSet&, const Platform&)> registerHandlers;
  std::ostream& standardOutput;
  std::ostream& standardError;

  /// `arguments` is the command line without the program's name. Returns the exit status; does not
  /// return once the service has started.
  int enter(std::span<const char* const> arguments) const;

 private:
  int serve(QRTPrivilegedOperationSet& operationSet) const;
};

}  // namespace qrt
