// Extended attributes through the system's own calls.
#pragma once

#include "platform/ExtendedAttributes.h"

namespace qrt {

/// Names are the file system's own. Sockets and devices have no attributes here.
class MacosExtendedAttributes final : public ExtendedAttributes {
 public:
  PosixResult<std::vector<std::string>> names(FileAt object, Links links,
                                              Compression compression) override;
  PosixResult<std::vector<std::string>> names(const HeldObject& object,
                                              Compression compression) override;
  PosixResult<Data> value(FileAt object, Links links, const std::string& name) override;
  PosixResult<Data> value(const HeldObject& object, const std::string& name) override;
  PosixCode set(FileAt object, Links links, const std::string& name, const Data& value) override;
  PosixCode remove(FileAt object, Links links, const std::string& name,
                   Compression compression) override;
};

}  // namespace qrt
