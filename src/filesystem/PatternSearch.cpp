#include "filesystem/PatternSearch.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "base/Path.h"
#include "filesystem/objects/PathAsWritten.h"
#include "filesystem/walk/HierarchyTotals.h"
#include "filesystem/walk/QRTDirectoryEnumerator.h"
#include "platform/Platform.h"
#include "protocol/FeedbackMessage.h"

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

namespace AdvancedOpsAdditions {
namespace {

using MatchType = QRTFileNameMatchDescriptor::MatchType;
using Descriptors = std::vector<QRTFileNameMatchDescriptor>;

std::optional<MatchType> matchTypeOf(const std::string& text) {
  if (text.size() != 1 || text[0] < '0' || text[0] > '2') return std::nullopt;
  return static_cast<MatchType>(text[0] - '0');
}

std::optional<Descriptors> descriptorsOf(const std::vector<std::string>& pairs) {
  Descriptors descriptors;
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    const auto type = matchTypeOf(pairs[i]);
    const auto& pattern = pairs[i + 1];
    if (!type || pattern.empty()) return std::nullopt;
    auto& descriptor = descriptors.emplace_back();
    descriptor.setMatchType(*type);
    descriptor.setMatchString(pattern);
  }
  return descriptors;
}

bool matchesOne(const Descriptors& descriptors, std::string_view name) {
  return std::any_of(descriptors.begin(), descriptors.end(),
                     [&](const auto& descriptor) { return descriptor.matches(name); });
}

}  // namespace

Outcome searchForFileNamesAtPath(const Platform& platform, const std::string& path,
                                 bool stayOnFileSystem,
                                 const std::vector<std::string>& matchTypePatternPairs,
                                 const FeedbackBlock& feedbackBlock) {
  const auto& pairs = matchTypePatternPairs;
  if (pairs.empty() || pairs.size() % 2 != 0) return posixError(PosixCode::invalidArgument);
  const auto base = resolvedSearchFolder(platform.files, path);
  if (!base) return base.error();

  feedbackBlock(progressMessage(0.0));
  const auto descriptors = descriptorsOf(pairs);
  if (!descriptors) return posixError(PosixCode::invalidArgument);
  feedbackBlock(progressMessage(0.01));
  const auto total = numberOfObjectsBelow(platform, *base, stayOnFileSystem);
  if (!total) return posixError(total.error());
  if (*total == 0) return posixError(PosixCode::noEntry);

  FoundObjects found(*base, feedbackBlock);
  const auto walk = QRTDirectoryEnumerator::enumeratorAtPath(platform, *base, stayOnFileSystem);
  for (std::uint64_t done = 0; walk && walk->advance(); ++done) {
    if (matchesOne(*descriptors, walk->objectName())) {
      const auto status = walk->objectStatus();
      if (status) found.add(walk->objectPath(), *status);
    }
    // The hierarchy may have grown since it was counted.
    const auto fraction = static_cast<double>(done) / static_cast<double>(*total);
    found.sendIfEnough(std::min(fraction, 1.0));
  }
  found.finish();
  return posixOutcome(walk ? walk->failure() : PosixCode::success);
}

}  // namespace AdvancedOpsAdditions
}  // namespace qrt
