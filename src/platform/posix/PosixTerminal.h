// Standard streams as file descriptors.
#pragma once

#include "platform/FileDescriptor.h"
#include "platform/Terminal.h"

namespace qrt {

class PosixTerminal : public Terminal {
 public:
  /// From here on a reader that has gone makes `write` fail instead of ending the process, and a
  /// stream that came closed fails instead of being whatever is opened next.
  PosixTerminal();

  bool isTerminal(StandardStream stream) const override;
  std::size_t columns() const override;
  bool write(StandardStream stream, std::string_view bytes) override;
  void stopWaiting() override;
  bool canAsk() const override;
  std::optional<std::string> readLine() override;

 private:
  bool waitUntilWritable(int descriptor) const;

  /// A pipe, into which something is written once nobody is to be waited for.
  FileDescriptor isImpatient_;
  FileDescriptor makeImpatient_;
};

}  // namespace qrt
