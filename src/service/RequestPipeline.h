// The steps of a request from its arrival to its reply.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "operations/HandlerTable.h"
#include "protocol/Caller.h"
#include "protocol/FeedbackConnection.h"
#include "protocol/RequestArguments.h"
#include "service/LogAllowance.h"

namespace qrt {

class QRTPrivilegedOperation;
class QRTPrivilegedOperationSet;
struct Platform;

/// Resolves, authorizes, validates and runs a request. Keeps nothing between requests. Thread-safe.
class RequestPipeline {
 public:
  /// Handlers of the operations that the service performs itself, by their codes.
  using InternalOperations = std::map<std::uint64_t, Handler>;

  /// Set, platform and allowance outlive the pipeline.
  RequestPipeline(const QRTPrivilegedOperationSet& operationSet, const Platform& platform,
                  LogAllowance& logAllowance, InternalOperations internalOperations);

  Outcome performPrivilegedOperation(const Caller& caller, std::uint64_t code,
                                     const Data& authorizationData, FeedbackEndpoint* endpoint,
                                     RequestArguments* arguments) const;

 private:
  struct Request;

  Outcome authorize(Request& request, const Data& authorizationData) const;
  Outcome validate(Request& request) const;
  Outcome validateCount(const Request& request) const;
  Outcome validateStrings(const Request& request) const;
  Outcome validateTypes(const Request& request) const;
  Outcome openFeedback(Request& request, FeedbackEndpoint* endpoint) const;
  Outcome run(const Request& request) const;
  Outcome dispatch(const Request& request) const;
  void closeFeedback(Request& request) const;

  const QRTPrivilegedOperationSet& operationSet_;
  const Platform& platform_;
  LogAllowance& logAllowance_;
  InternalOperations internalOperations_;
};

}  // namespace qrt
