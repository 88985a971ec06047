#include "filesystem/SearchOperations.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "base/Path.h"
#include "filesystem/FoundObjects.h"
#include "filesystem/HierarchySearch.h"
#include "filesystem/PatternSearch.h"
#include "filesystem/objects/SearchFolder.h"
#include "filesystem/walk/HierarchyTotals.h"
#include "filesystem/walk/OrphanedFolder.h"
#include "operations/ArgumentConverters.h"
#include "operations/PrivilegedOperationError.h"

namespace qrt::SearchOperations {
namespace {

double secondsSince(Date date) {
  const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
  return now.count() - date.secondsSince1970;
}

/// Whether an object is a folder or leads to one; none when it leads nowhere.
std::optional<bool> leadsToFolder(FileSystem& files, FileAt object, const FileStatus& status) {
  if (!status.isLink()) return status.isFolder();
  const auto target = files.status(object, Links::follow);
  if (!target) return std::nullopt;
  return target->isFolder();
}

struct NameFilter {
  /// Empty ones let everything through.
  const std::string& prefix;
  const std::string& extension;

  bool passes(std::string_view name) const {
    return name.starts_with(prefix) && (extension.empty() || path::extension(name) == extension);
  }
};

/// Adds the entries of a folder. All names are read first, because a listing that fails counts as
/// empty, also when it fails half-way.
PosixCode findIn(FileSystem& files, const std::string& path, bool wantsFolders,
                 const NameFilter& filter, FoundObjects& found) {
  auto folder = files.openFolder(path.c_str(), Links::follow);
  if (!folder) return folder.error();
  std::string names;
  for (;;) {
    const auto entry = folder->next();
    if (!entry) return entry.error();
    if (!*entry) break;
    const std::string_view name = (*entry)->name;
    if (filter.passes(name)) names.append(name) += '\0';
  }
  for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
    const FileAt object{*folder, names.data() + at};
    const auto status = files.status(object, Links::stay);
    if (!status && isExhaustion(status.error())) return status.error();
    if (!status || leadsToFolder(files, object, *status) != wantsFolders) continue;
    found.add(object.name, *status);
    found.sendIfEnough(0.0);
  }
  return PosixCode::success;
}

/// Whether an orphan is reported. When it is and stands for what it holds, the walk skips that.
PosixResult<bool> standsForItself(const SearchContext& context, QRTDirectoryEnumerator& walk,
                                  const FileStatus& status, KnownUserIDs& known) {
  if (!status.isFolder()) return true;
  auto holdsOrphansOnly =
      isFolderAtObject(context.files, context.log, walk.object(), walk.objectPath(), known);
  // A folder that was not entered has nothing to skip but its neighbours.
  if (holdsOrphansOnly && *holdsOrphansOnly && walk.isInsideObject()) walk.skipDescendents();
  return holdsOrphansOnly;
}

}  // namespace

Outcome performOperationSearchAgedfilesWithArguments(const SearchContext& context,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback) {
  constexpr double secondsPerDay = 86400.0;
  const auto minimumAge = static_cast<double>(arguments[1].number()->asUInt64()) * secondsPerDay;
  const auto search = [&](QRTDirectoryEnumerator& walk, FoundObjects& found) {
    while (walk.advance()) {
      const auto status = walk.objectStatus();
      if (!status || minimumAge > secondsSince(status->modificationDate)) continue;
      found.add(walk.objectPath(), *status);
      found.sendIfEnough(0.0);
    }
    return PosixCode::success;
  };
  return searchHierarchy(context, *arguments[0].string(), arguments[2].number()->asBool(), feedback,
                         search);
}

Outcome performOperationSearchFilenamesWithArguments(const SearchContext& context,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback) {
  auto& files = context.files;
  const NameFilter filter{*arguments[1].string(), *arguments[2].string()};
  const bool wantsFolders = arguments[3].number()->asBool();
  const auto path = resolvedSearchFolder(files, *arguments[0].string());
  if (!path) return path.error();
  FoundObjects found(*path, sendingTo(feedback));
  const auto failure = findIn(files, *path, wantsFolders, filter, found);
  found.finish();
  return posixOutcome(isExhaustion(failure) ? failure : PosixCode::success);
}

Outcome performOperationSearchPatternsWithArguments(const SearchContext& context,
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
  return AdvancedOpsAdditions::searchForFileNamesAtPath(
      context.files, context.log, folder, stayOnFileSystem, *strings, sendingTo(feedback));
}

Outcome performOperationSearchFileorphansWithArguments(const SearchContext& context,
                                                       const Array& arguments,
                                                       FeedbackConnection* feedback) {
  constexpr std::uint32_t root = 0;
  auto ids = allKnownUserIDs(context.users);
  ids.insert(root);
  KnownUserIDs known(std::move(ids), &context.users);
  const auto search = [&](QRTDirectoryEnumerator& walk, FoundObjects& found) {
    while (walk.advance()) {
      const auto status = walk.objectStatus();
      if (!status || known.contains(status->userID)) continue;
      const auto isWanted = standsForItself(context, walk, *status, known);
      if (!isWanted) return isWanted.error();
      if (!*isWanted) continue;
      found.add(walk.objectPath(), *status);
      found.sendIfEnough(0.0);
    }
    return PosixCode::success;
  };
  return searchHierarchy(context, *arguments[0].string(), arguments[1].number()->asBool(), feedback,
                         search);
}

Outcome performOperationInspectStoragesizeWithArguments(const SearchContext& context,
                                                        const Array& arguments,
                                                        FeedbackConnection*) {
  const auto folder = resolvedSearchFolder(context.files, *arguments[0].string());
  if (!folder) return folder.error();
  const auto size = storageSizeBelow(context.files, *folder);
  if (!size) return posixError(size.error());
  return privilegedOperationAnswer({{"Size", *size}});
}

}  // namespace qrt::SearchOperations
