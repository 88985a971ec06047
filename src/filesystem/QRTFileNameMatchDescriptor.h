// One pattern of a search for names.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qrt {

class QRTFileNameMatchDescriptor {
 public:
  enum class MatchType : std::uint8_t { wholeName = 0, prefix = 1, extension = 2 };

  MatchType matchType() const { return matchType_; }
  void setMatchType(MatchType matchType) { matchType_ = matchType; }
  const std::string& matchString() const { return matchString_; }
  void setMatchString(std::string matchString) { matchString_ = std::move(matchString); }

  /// Byte for byte. A dot that begins a name begins no extension.
  bool matches(std::string_view name) const;

 private:
  MatchType matchType_ = MatchType::wholeName;
  std::string matchString_;
};

}  // namespace qrt
