// The operation set of this program.
#pragma once

#include <atomic>
#include <memory>

#include "operations/OperationCatalogue.h"
#include "operations/QRTPrivilegedOperationSet.h"

namespace qrt {

class QRTPrivilegedOperationSetVK2 : public QRTPrivilegedOperationSet {
 public:
  static std::unique_ptr<QRTPrivilegedOperationSet> make(Log& log, Authority& authority);

  QRTPrivilegedOperationSetVK2(
      Log& log, Authority& authority,
      const QRTPrivilegedOperationStaticDescription* catalogue = privilegedOperationCatalogue);

  float minimumHelperVersionImplementingSelfUninstall() const override { return 1.5f; }

  /// The feedback connection of the last run of a program; null after a run that succeeded. A
  /// failed run leaves its connection here after the connection's end: compare it, never use it.
  /// Output goes to the connection of its own request, not to this one.
  const FeedbackConnection* outputConnection() const { return outputConnection_; }
  void setOutputConnection(const FeedbackConnection* connection) { outputConnection_ = connection; }

 private:
  std::atomic<const FeedbackConnection*> outputConnection_ = nullptr;
};

}  // namespace qrt
