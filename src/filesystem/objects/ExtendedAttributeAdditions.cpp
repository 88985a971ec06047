#include "filesystem/objects/ExtendedAttributeAdditions.h"

#include "filesystem/objects/FileManager.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"

namespace qrt::ExtendedAttributeAdditions {
namespace {

Compression compressionFor(bool exposing) {
  return exposing ? Compression::exposed : Compression::hidden;
}

PosixResult<Dictionary> attributesOf(ExtendedAttributes& attached, const HeldObject& named,
                                     const HeldObject& valued, Compression compression) {
  const auto names = attached.names(named, compression);
  if (!names) return names.error();
  Dictionary attributes;
  for (const auto& name : *names) {
    auto value = attached.value(valued, name);
    const bool isLeftOut = !value && (value.error() == PosixCode::noAttribute ||
                                      value.error() == PosixCode::notSupported);
    // A stash would take an attribute that is missing here for one to remove.
    if (!value && !isLeftOut) return value.error();
    if (value && !value->empty()) attributes.insert_or_assign(name, std::move(*value));
  }
  return attributes;
}

/// The object or, unless links are not followed, its target. The target has to exist either way.
Result<HeldObject> holdItem(FileSystem& files, const std::string& path, bool notFollowingLinks) {
  const auto missing = [&](PosixCode code) {
    return posixError(FileManager::reasonAtPath(files, path, code), path);
  };
  const auto location = files.locate(path);
  if (!location) return missing(location.error());
  auto target = files.hold(location->at(), Links::follow);
  if (!target) return missing(target.error());
  if (!notFollowingLinks) return std::move(*target);
  auto item = files.hold(location->at(), Links::stay);
  if (!item) return missing(item.error());
  return std::move(*item);
}

Outcome outcome(PosixCode code, const std::string& path) {
  if (code == PosixCode::success) return success;
  return posixError(code, path);
}

}  // namespace

Result<Dictionary> extendedAttributesForItemAtPath(const Platform& platform,
                                                   const std::string& path, bool notFollowingLinks,
                                                   bool exposingFSCompression) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto named = holdItem(platform.files, path, notFollowingLinks);
  if (!named) return named.error();
  const auto valued = holdItem(platform.files, path, false);
  if (!valued) return valued.error();
  auto attributes = attributesOf(platform.extendedAttributes, *named, *valued,
                                 compressionFor(exposingFSCompression));
  if (!attributes) return posixError(attributes.error(), path);
  return std::move(*attributes);
}

PosixResult<Dictionary> extendedAttributesForItem(const Platform& platform,
                                                  const HeldObject& item) {
  return attributesOf(platform.extendedAttributes, item, item, Compression::hidden);
}

Outcome setForItemAtPath(const Platform& platform, const std::string& path, const Data& value,
                         const std::string& ofExtendedAttribute, bool notFollowingLinks) {
  if (path.empty() || value.empty() || ofExtendedAttribute.empty()) {
    return posixError(PosixCode::invalidArgument);
  }
  const auto item = holdItem(platform.files, path, notFollowingLinks);
  if (!item) return item.error();
  return outcome(platform.extendedAttributes.set(*item, ofExtendedAttribute, value), path);
}

Outcome removeFromItemAtPath(const Platform& platform, const std::string& path,
                             const std::string& extendedAttribute, bool notFollowingLinks,
                             bool includingFSCompression) {
  if (path.empty() || extendedAttribute.empty()) return posixError(PosixCode::invalidArgument);
  const auto item = holdItem(platform.files, path, notFollowingLinks);
  if (!item) return item.error();
  return outcome(platform.extendedAttributes.remove(*item, extendedAttribute,
                                                    compressionFor(includingFSCompression)),
                 path);
}

}  // namespace qrt::ExtendedAttributeAdditions
