// Standard streams as file descriptors.
#pragma once

#include "platform/Terminal.h"

namespace qrt {

class PosixTerminal : public Terminal {
 public:
  /// From here on a reader that has gone makes `write` fail instead of ending the process.
  PosixTerminal();

  bool isTerminal(StandardStream stream) const override;
  std::size_t columns() const override;
  bool write(StandardStream stream, std::string_view bytes) override;
  bool canAsk() const override;
  std::optional<std::string> readLine() override;
};

}  // namespace qrt
