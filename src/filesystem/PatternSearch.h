// Searching a hierarchy for names.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "filesystem/FoundObjects.h"

namespace qrt {

struct Platform;

/// One pattern of a search for names.
class QRTFileNameMatchDescriptor {
 public:
  enum class MatchType : std::uint8_t { wholeName = 0, prefix = 1, extension = 2 };

  MatchType matchType() const { return matchType_; }
  void setMatchType(MatchType matchType) { matchType_ = matchType; }
  const std::string& matchString() const { return matchString_; }
  void setMatchString(std::string matchString) { matchString_ = std::move(matchString); }

  /// Byte for byte. A dot that begins a name does not begin an extension.
  bool matches(std::string_view name) const;

 private:
  MatchType matchType_ = MatchType::wholeName;
  std::string matchString_;
};

namespace AdvancedOpsAdditions {

/// Reports each object below the folder whose name matches one of the patterns, in walking order
/// and with the progress of the search. The pairs are a match type ("0" whole name, "1" beginning,
/// "2" extension) and a pattern, in turn. No pair, half a pair, an unknown type or an empty pattern
/// is POSIX 22, an empty folder POSIX 2. An unknown type, an empty pattern and an empty folder are
/// found after the first progress was sent.
Outcome searchForFileNamesAtPath(const Platform& platform, const std::string& path,
                                 bool stayOnFileSystem,
                                 const std::vector<std::string>& matchTypePatternPairs,
                                 const FeedbackBlock& feedbackBlock);

}  // namespace AdvancedOpsAdditions
}  // namespace qrt
