#include "platform/macos/xpc/FeedbackIntake.h"

#include "protocol/Names.h"

namespace qrt {

Dictionary FeedbackIntake::lastCall() { return {{"QRTLastCall", true}}; }

void FeedbackIntake::receive(int connection, const Dictionary& message) {
  const bool isLastCall = message == lastCall();
  const bool isFinal = message.find(finalFeedbackMessageKey) != message.end();
  if (isLastCall) close();
  if (handler_ && !isLastCall) (*handler_)(message);
  if (isLastCall || isFinal) end(connection);
}

}  // namespace qrt
