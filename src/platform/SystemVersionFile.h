// The file that says which system this is.
#pragma once

#include <optional>

#include "base/PropertyValue.h"

namespace qrt {

class SystemVersionFile {
 public:
  virtual ~SystemVersionFile() = default;
  /// Its contents, or none where there is no such file. Thread-safe.
  virtual std::optional<Data> read() = 0;
};

}  // namespace qrt
