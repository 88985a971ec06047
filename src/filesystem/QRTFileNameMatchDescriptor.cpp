#include "filesystem/QRTFileNameMatchDescriptor.h"

#include "base/Path.h"

namespace qrt {

bool QRTFileNameMatchDescriptor::matches(std::string_view name) const {
  switch (matchType_) {
    case MatchType::wholeName:
      return name == matchString_;
    case MatchType::prefix:
      return name.starts_with(matchString_);
    case MatchType::extension:
      return path::extension(name) == matchString_;
  }
  return false;
}

}  // namespace qrt
