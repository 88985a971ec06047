// Signatures of the home platform's software, read on Linux.
#pragma once

#include "platform/CodeSigning.h"

namespace qrt {

/// Reads bundles and executables of the home platform. Validity takes all programs of a universal
/// executable and all code inside of a bundle. A signature that nobody's certificate stands behind
/// is not valid here.
class LinuxCodeSigning final : public CodeSigning {
 public:
  std::unique_ptr<StaticCode> staticCode(const std::string& path) override;
};

}  // namespace qrt
