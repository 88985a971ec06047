#include "filesystem/HierarchySearch.h"

#include "filesystem/PathText.h"
#include "filesystem/SearchFolder.h"

namespace qrt {

Outcome searchHierarchy(const SearchContext& context, const std::string& folder,
                        bool stayOnFileSystem, FeedbackConnection* feedback,
                        const Judgement& isWanted) {
  const auto base = resolvedSearchFolder(context.files, folder);
  if (!base) return base.error();
  FoundObjects found(sendingTo(feedback));
  const auto walk =
      QRTDirectoryEnumerator::enumeratorAtPath(context.files, context.log, *base, stayOnFileSystem);
  auto failure = PosixCode::success;
  while (failure == PosixCode::success && walk && walk->advance()) {
    const auto status = context.files.status(walk->object(), Links::stay);
    if (!status) continue;
    const auto wanted = isWanted(*walk, *status);
    if (!wanted) {
      failure = wanted.error();
    } else if (*wanted) {
      found.add(appendingPathComponent(*base, walk->objectPath()), *status);
    }
    found.sendIfEnough(0.0);
  }
  found.finish();
  if (walk && failure == PosixCode::success) failure = walk->failure();
  return posixOutcome(failure);
}

}  // namespace qrt
