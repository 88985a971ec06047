// A signed program or bundle.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/CodeSigning.h"
#include "platform/FileSystem.h"
#include "platform/linux/signing/SignedBundle.h"
#include "platform/linux/signing/SignedProgram.h"
#include "platform/linux/signing/SigningBudget.h"

namespace qrt {

/// Holds its files open and its signatures in memory from the beginning, so that whatever is asked
/// later is about the same code.
class SignedCode {
 public:
  /// None when there is neither a bundle nor a program. `path` is only for telling files.
  static std::optional<SignedCode> open(FileAt object, Links links, std::string path);

  /// None without a signature.
  std::optional<SigningInformation> information() const;

  Outcome check(SigningBudget& budget) const { return check(budget, 0); }

 private:
  SignedCode() = default;

  Outcome check(SigningBudget& budget, unsigned depth) const;
  Outcome checkResources(const Data* resourceList, SigningBudget& budget, unsigned depth) const;

  std::string path_;
  std::optional<SignedBundle> bundle_;
  FileDescriptor executable_;
  /// All that are in the executable; empty when one of them is not signed.
  std::vector<SignedProgram> programs_;
};

}  // namespace qrt
