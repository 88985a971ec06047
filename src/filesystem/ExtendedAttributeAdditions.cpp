#include "filesystem/ExtendedAttributeAdditions.h"

#include "filesystem/FileManager.h"

namespace qrt::ExtendedAttributeAdditions {
namespace {

Links linksFor(bool notFollowing) { return notFollowing ? Links::stay : Links::follow; }

Compression compressionFor(bool exposing) {
  return exposing ? Compression::exposed : Compression::hidden;
}

Outcome outcome(PosixCode code, const std::string& path) {
  if (code == PosixCode::success) return success;
  return posixError(code, path);
}

}  // namespace

Result<Dictionary> extendedAttributesForItemAtPath(const ItemContext& context,
                                                   const std::string& path, bool notFollowingLinks,
                                                   bool exposingFSCompression) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  if (!FileManager::fileExistsAtPath(context.files, path)) {
    return posixError(PosixCode::noEntry, path);
  }
  return extendedAttributesForItem(context, path.c_str(), path, notFollowingLinks,
                                   exposingFSCompression);
}

Result<Dictionary> extendedAttributesForItem(const ItemContext& context, FileAt item,
                                             const std::string& path, bool notFollowingLinks,
                                             bool exposingFSCompression) {
  const auto names = context.attributes.names(item, linksFor(notFollowingLinks),
                                              compressionFor(exposingFSCompression));
  if (!names) return posixError(names.error(), path);
  Dictionary attributes;
  for (const auto& name : *names) {
    auto value = context.attributes.value(item, Links::follow, name);
    if (value && !value->empty()) attributes.insert_or_assign(name, std::move(*value));
  }
  return attributes;
}

Outcome setForItemAtPath(const ItemContext& context, const std::string& path, const Data& value,
                         const std::string& ofExtendedAttribute, bool notFollowingLinks) {
  if (path.empty() || value.empty() || ofExtendedAttribute.empty()) {
    return posixError(PosixCode::invalidArgument);
  }
  if (!FileManager::fileExistsAtPath(context.files, path)) {
    return posixError(PosixCode::noEntry, path);
  }
  return outcome(
      context.attributes.set(path.c_str(), linksFor(notFollowingLinks), ofExtendedAttribute, value),
      path);
}

Outcome removeFromItemAtPath(const ItemContext& context, const std::string& path,
                             const std::string& extendedAttribute, bool notFollowingLinks,
                             bool includingFSCompression) {
  if (path.empty() || extendedAttribute.empty()) return posixError(PosixCode::invalidArgument);
  if (!FileManager::fileExistsAtPath(context.files, path)) {
    return posixError(PosixCode::noEntry, path);
  }
  return outcome(
      context.attributes.remove(path.c_str(), linksFor(notFollowingLinks), extendedAttribute,
                                compressionFor(includingFSCompression)),
      path);
}

}  // namespace qrt::ExtendedAttributeAdditions
