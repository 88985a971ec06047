// The daemon's removal of itself.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>

#include "base/Error.h"
#include "platform/Platform.h"

namespace qrt {

class ClientSet;
class QRTPrivilegedOperationSet;

struct SelfUninstall {
  const Platform& platform;
  const QRTPrivilegedOperationSet& operationSet;
  ClientSet& clientSet;
  std::mutex& clientSetLock;
  /// Ends the process.
  std::function<void()> terminatePrivilegedHelper;

  /// Deletes the two installed files, takes the rights back, has the job forgotten and ends. Until
  /// the first file is deleted a failure leaves everything as it was, and is returned; once both
  /// are gone nothing stops it, and it does not return.
  Outcome performUninstallForClientWithPID(std::int32_t client,
                                           const std::string& removingObjectsAtPath,
                                           const std::string& andPath) const;

 private:
  Outcome refusalForOtherClients(std::int32_t client) const;
  std::set<std::int32_t> registeredClients() const;
  void forgetJob() const;
};

}  // namespace qrt
