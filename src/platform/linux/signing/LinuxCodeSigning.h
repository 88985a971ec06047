// Signatures of the home platform's software, read on Linux.
#pragma once

#include "platform/CodeSigning.h"

namespace qrt {

/// Reads bundles and executables of the home platform. Code is valid when all programs of its
/// executable and all code inside of its bundle are. A signature without a signer is not valid
/// here.
class LinuxCodeSigning final : public CodeSigning {
 public:
  std::unique_ptr<StaticCode> staticCode(const std::string& path) override;
};

}  // namespace qrt
