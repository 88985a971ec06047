// Extended attributes through Linux's own calls.
#pragma once

#include "platform/ExtendedAttributes.h"

namespace qrt {

/// Names here begin with a namespace. One that is given without lives in "user.", which is taken
/// off again on reading unless the rest would then seem to have a namespace. No file system shows
/// compressed contents as an attribute.
class LinuxExtendedAttributes : public ExtendedAttributes {
 public:
  PosixResult<std::vector<std::string>> names(const HeldObject& object,
                                              Compression compression) override;
  PosixResult<Data> value(const HeldObject& object, const std::string& name) override;
  PosixCode set(const HeldObject& object, const std::string& name, const Data& value) override;
  PosixCode remove(const HeldObject& object, const std::string& name,
                   Compression compression) override;
};

}  // namespace qrt
