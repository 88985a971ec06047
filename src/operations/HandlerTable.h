// The handlers of the operations and the table of their names.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "protocol/FeedbackConnection.h"

namespace qrt {

struct Platform;

/// Performs one operation. The platform is the request's own: lines of its log name the requestor.
/// The arguments fit the catalogue's description. The feedback connection is null if the requestor
/// passed no endpoint. Handlers of different requests run at the same time.
using HandlerFunction = Outcome(const Platform& platform, const Array& arguments,
                                FeedbackConnection* feedback);

/// A handler function, or a closure of one and of what its requests share.
using Handler = std::function<HandlerFunction>;

/// A row of a subsystem's constant table.
struct NamedHandler {
  const char* name;
  HandlerFunction* function;
};

/// Handlers by their full names, e.g. "performOperationSignalProcessWithArguments:". Filled by the
/// composition root before the service starts, read-only afterwards.
class HandlerTable {
 public:
  void add(std::string name, Handler handler) {
    handlers_.insert_or_assign(std::move(name), std::move(handler));
  }

  void add(std::span<const NamedHandler> handlers) {
    for (const auto& [name, function] : handlers) add(name, function);
  }

  /// Null if no handler has that name.
  const Handler* find(std::string_view name) const {
    const auto found = handlers_.find(name);
    return found == handlers_.end() ? nullptr : &found->second;
  }

 private:
  std::map<std::string, Handler, std::less<>> handlers_;
};

}  // namespace qrt
