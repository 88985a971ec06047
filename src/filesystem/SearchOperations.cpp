#include "filesystem/SearchOperations.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "base/Path.h"
#include "filesystem/FoundObjects.h"
#include "filesystem/OrphanedFolder.h"
#include "filesystem/PatternSearch.h"
#include "filesystem/objects/PathAsWritten.h"
#include "filesystem/walk/HierarchyTotals.h"
#include "filesystem/walk/QRTDirectoryEnumerator.h"
#include "operations/ArgumentConverters.h"
#include "operations/Arguments.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Platform.h"

namespace qrt::SearchOperations {
namespace {

/// Runs a search over everything below a folder. `search` takes the walk and the findings and
/// returns the reason why it ended early, which is returned after the findings are sent. Errors are
/// those of the folder and of the walk, that descriptors or memory ran out, and `canceled`.
template <class Search>
Outcome searchHierarchy(const Platform& platform, const std::string& folder, bool stayOnFileSystem,
                        FeedbackConnection* feedback, Search search) {
  const auto base = resolvedSearchFolder(platform.files, folder);
  if (!base) return base.error();
  FoundObjects found(*base, sendingTo(feedback));
  const auto walk = QRTDirectoryEnumerator::enumeratorAtPath(platform, *base, stayOnFileSystem);
  auto failure = PosixCode::success;
  if (walk) {
    walk->expectStatuses();
    failure = search(*walk, found);
  }
  found.finish();
  if (walk && failure == PosixCode::success) failure = walk->failure();
  return posixOutcome(failure);
}

double secondsSince(Date date) {
  const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
  return now.count() - date.secondsSince1970;
}

/// Whether an object, or the target of a link, is a folder; nothing for a link without a target.
std::optional<bool> leadsToFolder(FileSystem& files, FileAt object, const FileStatus& status) {
  if (!status.isLink()) return status.isFolder();
  const auto target = files.status(object, Links::follow);
  if (!target) return std::nullopt;
  return target->isFolder();
}

struct NameFilter {
  /// Each matches every name if it is empty.
  const std::string& prefix;
  const std::string& extension;

  bool passes(std::string_view name) const {
    return name.starts_with(prefix) && (extension.empty() || path::extension(name) == extension);
  }
};

/// Adds the entries of a folder. All names are read first, because a listing that fails counts as
/// empty, even if it fails half-way.
PosixCode findIn(const Platform& platform, const std::string& path, bool wantsFolders,
                 const NameFilter& filter, FoundObjects& found) {
  auto& files = platform.files;
  auto folder = files.openFolder(path.c_str(), Links::follow);
  if (!folder) return folder.error();
  std::string names;
  for (;;) {
    if (platform.stop.isSet()) return PosixCode::canceled;
    const auto entry = folder->next();
    if (!entry) return entry.error();
    if (!*entry) break;
    const std::string_view name = (*entry)->name;
    if (filter.passes(name)) names.append(name) += '\0';
  }
  for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
    if (platform.stop.isSet()) return PosixCode::canceled;
    const FileAt object{*folder, names.data() + at};
    const auto status = files.status(object, Links::stay);
    if (!status && isExhaustion(status.error())) return status.error();
    if (!status || leadsToFolder(files, object, *status) != wantsFolders) continue;
    found.add(object.name, *status);
    found.sendIfEnough(0.0);
  }
  return PosixCode::success;
}

/// Whether an orphan is reported. If it is a folder that is reported in place of its contents, the
/// walk skips these.
PosixResult<bool> isReported(const Platform& platform, QRTDirectoryEnumerator& walk,
                             const FileStatus& status, KnownUserIDs& known) {
  if (!status.isFolder()) return true;
  auto holdsOrphansOnly = isFolderAtObject(platform, walk.folder(), walk.objectPath(), known);
  // After a folder that was not entered, this would skip its neighbours.
  if (holdsOrphansOnly && *holdsOrphansOnly && walk.isInsideObject()) walk.skipDescendents();
  return holdsOrphansOnly;
}

}  // namespace

Outcome performOperationSearchAgedfilesWithArguments(const Platform& platform,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback) {
  constexpr double secondsPerDay = 86400.0;
  const auto [folder, days, stayOnFileSystem] = unpack<std::string, std::uint64_t, bool>(arguments);
  const auto minimumAge = static_cast<double>(days) * secondsPerDay;
  const auto search = [&](QRTDirectoryEnumerator& walk, FoundObjects& found) {
    while (walk.advance()) {
      const auto status = walk.objectStatus();
      if (!status || minimumAge > secondsSince(status->modificationDate)) continue;
      found.add(walk.objectPath(), *status);
      found.sendIfEnough(0.0);
    }
    return PosixCode::success;
  };
  return searchHierarchy(platform, folder, stayOnFileSystem, feedback, search);
}

Outcome performOperationSearchFilenamesWithArguments(const Platform& platform,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback) {
  const auto [folder, prefix, extension, wantsFolders] =
      unpack<std::string, std::string, std::string, bool>(arguments);
  const NameFilter filter{prefix, extension};
  const auto path = resolvedSearchFolder(platform.files, folder);
  if (!path) return path.error();
  FoundObjects found(*path, sendingTo(feedback));
  const auto failure = findIn(platform, *path, wantsFolders, filter, found);
  found.finish();
  const bool isReported = isExhaustion(failure) || failure == PosixCode::canceled;
  return posixOutcome(isReported ? failure : PosixCode::success);
}

Outcome performOperationSearchPatternsWithArguments(const Platform& platform,
                                                    const Array& arguments,
                                                    FeedbackConnection* feedback) {
  constexpr std::size_t options = 2;
  auto strings = stringsIn(arguments);
  bool stayOnFileSystem = false;
  const bool isValid = strings && strings->size() >= options + 2 && strings->size() % 2 == 0 &&
                       !strings->front().empty() && getBool(&stayOnFileSystem, (*strings)[1]);
  if (!isValid) return posixError(PosixCode::invalidArgument);
  const auto folder = std::move(strings->front());
  strings->erase(strings->begin(), strings->begin() + options);
  return AdvancedOpsAdditions::searchForFileNamesAtPath(platform, folder, stayOnFileSystem,
                                                        *strings, sendingTo(feedback));
}

Outcome performOperationSearchFileorphansWithArguments(const Platform& platform,
                                                       const Array& arguments,
                                                       FeedbackConnection* feedback) {
  constexpr std::uint32_t root = 0;
  const auto [folder, stayOnFileSystem] = unpack<std::string, bool>(arguments);
  auto ids = allKnownUserIDs(platform.users);
  ids.insert(root);
  KnownUserIDs known(std::move(ids), &platform.users);
  const auto search = [&](QRTDirectoryEnumerator& walk, FoundObjects& found) {
    while (walk.advance()) {
      const auto status = walk.objectStatus();
      if (!status || known.contains(status->userID)) continue;
      const auto isWanted = isReported(platform, walk, *status, known);
      if (!isWanted) return isWanted.error();
      if (!*isWanted) continue;
      found.add(walk.objectPath(), *status);
      found.sendIfEnough(0.0);
    }
    return PosixCode::success;
  };
  return searchHierarchy(platform, folder, stayOnFileSystem, feedback, search);
}

Outcome performOperationInspectStoragesizeWithArguments(const Platform& platform,
                                                        const Array& arguments,
                                                        FeedbackConnection*) {
  const auto [path] = unpack<std::string>(arguments);
  const auto folder = resolvedSearchFolder(platform.files, path);
  if (!folder) return folder.error();
  const auto size = storageSizeBelow(platform, *folder);
  if (!size) return posixError(size.error());
  return privilegedOperationAnswer({{"Size", *size}});
}

}  // namespace qrt::SearchOperations
