// What a search has found, on its way to the client.
#pragma once

#include <functional>
#include <string>

#include "platform/FileStatus.h"
#include "protocol/FeedbackMessage.h"

namespace qrt {

class FeedbackConnection;

/// Takes one feedback message.
using FeedbackBlock = std::function<void(FeedbackMessage message)>;

/// A block that sends to the connection; it drops the messages if that is null.
FeedbackBlock sendingTo(FeedbackConnection* feedback);

/// Collects records and sends them in messages of a moderate size.
class FoundObjects {
 public:
  FoundObjects(const std::string& base, FeedbackBlock send);

  /// `path` is relative to the base of the search.
  void add(const std::string& path, const FileStatus& status);

  /// Sends the records if there are enough. To be called after each visited object.
  void sendIfEnough(double fraction);

  /// Sends the remaining records and the end of the search.
  void finish();

 private:
  void send(double fraction);

  const std::string base_;
  const FeedbackBlock send_;
  FileObjectRecords records_;
};

}  // namespace qrt
