// What the commands of one process share.
#pragma once

#include <memory>
#include <string>

#include "client/Requestor.h"

namespace qrt {

/// The connection that is kept between commands. The daemon remembers a grant as long as it lives,
/// and it lives at least as long as this registration.
class Session {
 public:
  /// Null when no connection to that address is usable.
  Requestor* requestorAt(const std::string& address) const {
    const bool isUsable = requestor_ && address_ == address && !requestor_->wasInterrupted();
    return isUsable ? requestor_.get() : nullptr;
  }

  Requestor* keep(std::unique_ptr<Requestor> requestor, std::string address) {
    requestor_ = std::move(requestor);
    address_ = std::move(address);
    return requestor_.get();
  }

  /// After a failure of the connection, so that the next command makes another.
  void drop() { requestor_.reset(); }

 private:
  std::string address_;
  std::unique_ptr<Requestor> requestor_;
};

}  // namespace qrt
