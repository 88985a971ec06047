#include "filesystem/HierarchySearch.h"

#include "filesystem/objects/SearchFolder.h"

namespace qrt {

Outcome searchHierarchy(const SearchContext& context, const std::string& folder,
                        bool stayOnFileSystem, FeedbackConnection* feedback,
                        const SearchWalk& search) {
  const auto base = resolvedSearchFolder(context.files, folder);
  if (!base) return base.error();
  FoundObjects found(*base, sendingTo(feedback));
  const auto walk =
      QRTDirectoryEnumerator::enumeratorAtPath(context.files, context.log, *base, stayOnFileSystem);
  auto failure = PosixCode::success;
  if (walk) {
    walk->expectStatuses();
    failure = search(*walk, found);
  }
  found.finish();
  if (walk && failure == PosixCode::success) failure = walk->failure();
  return posixOutcome(failure);
}

}  // namespace qrt
