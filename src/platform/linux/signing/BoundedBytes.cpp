#include "platform/linux/signing/BoundedBytes.h"

#include <algorithm>

namespace qrt {

std::optional<std::string> textAt(Bytes bytes, std::uint64_t offset) {
  if (offset >= bytes.size()) return std::nullopt;
  const auto text = bytes.subspan(static_cast<std::size_t>(offset));
  const auto end = std::find(text.begin(), text.end(), 0);
  if (end == text.end()) return std::nullopt;
  return std::string(text.begin(), end);
}

}  // namespace qrt
