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

  /// Deletes the two installed files, removes the rights and the job, and ends the process. A
  /// failure before the first deletion changes nothing and is returned. After both deletions it
  /// ignores failures and does not return.
  Outcome performUninstallForClientWithPID(std::int32_t client,
                                           const std::string& removingObjectsAtPath,
                                           const std::string& andPath) const;

 private:
  Outcome refusalForOtherClients(std::int32_t client) const;
  std::set<std::int32_t> registeredClients() const;
  void forgetJob() const;
};

}  // namespace qrt
