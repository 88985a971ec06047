#include "filesystem/FoundObjects.h"

#include <cstddef>
#include <utility>

#include "base/Path.h"
#include "filesystem/objects/FileObjectInfo.h"
#include "platform/ReportedPath.h"
#include "protocol/FeedbackConnection.h"

namespace qrt {
namespace {

constexpr std::size_t enough = 20;

}  // namespace

FeedbackBlock sendingTo(FeedbackConnection* feedback) {
  return [feedback](FeedbackMessage message) {
    if (feedback) feedback->processPrivilegedOperationFeedback(std::move(message));
  };
}

FoundObjects::FoundObjects(const std::string& base, FeedbackBlock send)
    : base_(reportedPath(base)), send_(std::move(send)) {
  records_.reserve(enough);
}

void FoundObjects::add(const std::string& path, const FileStatus& status) {
  records_.add(fileObjectRecord(path::below(base_, path), status));
}

void FoundObjects::sendIfEnough(double fraction) {
  if (records_.count() >= enough) send(fraction);
}

void FoundObjects::finish() { send(1.0); }

void FoundObjects::send(double fraction) {
  send_(RecordsMessage{fraction, std::exchange(records_, {})});
  records_.reserve(enough);
}

}  // namespace qrt
