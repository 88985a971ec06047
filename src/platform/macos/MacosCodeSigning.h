// Signatures as the system itself judges them.
#pragma once

#include "platform/CodeSigning.h"

namespace qrt {

class MacosCodeSigning final : public CodeSigning {
 public:
  std::unique_ptr<StaticCode> staticCode(const std::string& path) override;
};

}  // namespace qrt
