#include "platform/ExtendedAttributes.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/files/DescriptorPath.h"
#include "platform/posix/AttributeCalls.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

constexpr std::string_view userNamespace = "user.";
/// The general ones, then those that single file systems have.
constexpr std::string_view namespaces[] = {
    userNamespace, "system.", "security.", "trusted.", "btrfs.", "ceph.",     "cifs.",
    "smb3.",       "osx.",    "os2.",      "lustre.",  "afs.",   "glusterfs."};

/// Access control lists have calls of their own. XFS lists them twice: the last two names are its
/// own, which no other file system understands.
constexpr std::string_view accessControlLists[] = {
    "system.posix_acl_access", "system.posix_acl_default", "trusted.SGI_ACL_FILE",
    "trusted.SGI_ACL_DEFAULT"};

bool isAccessControlList(std::string_view name) {
  return std::find(std::begin(accessControlLists), std::end(accessControlLists), name) !=
         std::end(accessControlLists);
}

bool hasNamespace(std::string_view name) {
  return std::any_of(std::begin(namespaces), std::end(namespaces),
                     [name](std::string_view prefix) { return name.starts_with(prefix); });
}

std::string nativeName(const std::string& name) {
  return hasNamespace(name) ? name : std::string(userNamespace) + name;
}

std::string_view nameOf(std::string_view nativeName) {
  if (!nativeName.starts_with(userNamespace)) return nativeName;
  const auto rest = nativeName.substr(userNamespace.size());
  return hasNamespace(rest) ? nativeName : rest;
}

/// Names here begin with a namespace. One that is given without lives in "user.", which is taken
/// off again on reading unless the rest would then seem to have a namespace. No file system shows
/// compressed contents as an attribute.
class LinuxExtendedAttributes : public ExtendedAttributes {
 public:
  PosixResult<std::vector<std::string>> names(const HeldObject& object,
                                              Compression compression) override;
  PosixResult<Data> value(const HeldObject& object, const std::string& name) override;
  PosixCode set(const HeldObject& object, const std::string& name, const Data& value) override;
  PosixCode remove(const HeldObject& object, const std::string& name,
                   Compression compression) override;
};

PosixResult<std::vector<std::string>> LinuxExtendedAttributes::names(const HeldObject& object,
                                                                     Compression) {
  const auto path = descriptorPath(object.descriptor());
  const auto list = delivered<std::string>(
      [&path](char* bytes, std::size_t size) { return ::listxattr(path.c_str(), bytes, size); });
  if (!list) return list.error();

  std::vector<std::string> names;
  for (std::string_view rest = *list; !rest.empty();) {
    const auto name = rest.substr(0, rest.find('\0'));
    if (!isAccessControlList(name)) names.emplace_back(nameOf(name));
    rest.remove_prefix(std::min(rest.size(), name.size() + 1));
  }
  return names;
}

PosixResult<Data> LinuxExtendedAttributes::value(const HeldObject& object,
                                                 const std::string& name) {
  if (!isAttributeName(name)) return PosixCode::invalidArgument;
  const auto path = descriptorPath(object.descriptor());
  const auto native = nativeName(name);
  return delivered<Data>([&](std::uint8_t* bytes, std::size_t size) {
    return ::getxattr(path.c_str(), native.c_str(), bytes, size);
  });
}

PosixCode LinuxExtendedAttributes::set(const HeldObject& object, const std::string& name,
                                       const Data& value) {
  if (!isAttributeName(name)) return PosixCode::invalidArgument;
  const auto path = descriptorPath(object.descriptor());
  return codeFor(::setxattr(path.c_str(), nativeName(name).c_str(), value.data(), value.size(), 0));
}

PosixCode LinuxExtendedAttributes::remove(const HeldObject& object, const std::string& name,
                                          Compression) {
  if (!isAttributeName(name)) return PosixCode::invalidArgument;
  const auto path = descriptorPath(object.descriptor());
  return codeFor(::removexattr(path.c_str(), nativeName(name).c_str()));
}

}  // namespace

std::unique_ptr<ExtendedAttributes> makeExtendedAttributes() {
  return std::make_unique<LinuxExtendedAttributes>();
}

}  // namespace qrt
