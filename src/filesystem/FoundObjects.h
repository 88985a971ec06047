// What a search has found, on its way to whoever searches.
#pragma once

#include <functional>
#include <string>

#include "base/PropertyValue.h"
#include "platform/FileStatus.h"

namespace qrt {

class FeedbackConnection;

/// Takes one feedback message.
using FeedbackBlock = std::function<void(Dictionary message)>;

/// A block that sends to the connection, or to nobody when it is null.
FeedbackBlock sendingTo(FeedbackConnection* feedback);

/// Collects records and sends them in messages that are neither huge nor countless.
class FoundObjects {
 public:
  FoundObjects(const std::string& base, FeedbackBlock send);

  /// `path` is relative to the base of the search.
  void add(const std::string& path, const FileStatus& status);

  /// To be called after each object that was looked at: sends the records if there are enough.
  void sendIfEnough(double fraction);

  /// Sends what is left and that the search is over.
  void finish();

 private:
  void send(double fraction);

  const std::string base_;
  const FeedbackBlock send_;
  Array records_;
};

}  // namespace qrt
