// Extended attributes through the system's own calls.
#pragma once

#include "platform/ExtendedAttributes.h"

namespace qrt {

/// Names are the file system's own. Sockets and devices have no attributes here.
class MacosExtendedAttributes final : public ExtendedAttributes {
 public:
  PosixResult<std::vector<std::string>> names(const HeldObject& object,
                                              Compression compression) override;
  PosixResult<Data> value(const HeldObject& object, const std::string& name) override;
  PosixCode set(const HeldObject& object, const std::string& name, const Data& value) override;
  PosixCode remove(const HeldObject& object, const std::string& name,
                   Compression compression) override;
};

}  // namespace qrt
