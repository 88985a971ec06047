#include "platform/AccessControl.h"

#include <fcntl.h>
#include <libkern/OSByteOrder.h>
#include <sys/acl.h>
#include <sys/attr.h>
#include <sys/kauth.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "platform/macos/MacosFacilities.h"
#include "platform/macos/files/CommonAttribute.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

struct AclDeleter {
  void operator()(acl_t list) const { ::acl_free(list); }
};
using AclOwner = std::unique_ptr<std::remove_pointer_t<acl_t>, AclDeleter>;

struct FileSecurityDeleter {
  void operator()(filesec_t security) const { ::filesec_free(security); }
};
using FileSecurityOwner = std::unique_ptr<std::remove_pointer_t<filesec_t>, FileSecurityDeleter>;

}  // namespace

struct AccessControlList::Content {
  AclOwner list;
};

namespace {

using OptionalList = std::optional<AccessControlList>;

constexpr auto countOffset = offsetof(kauth_filesec, fsec_acl.acl_entrycount);

bool hasEntries(const AclOwner& list) {
  acl_entry_t entry = nullptr;
  return ::acl_get_entry(list.get(), ACL_FIRST_ENTRY, &entry) == 0;
}

OptionalList listOf(AclOwner list) {
  if (!hasEntries(list)) return std::nullopt;
  return AccessControlList(std::make_shared<const AccessControlList::Content>(
      AccessControlList::Content{std::move(list)}));
}

/// The length must fit the number of entries: the system's reader trusts that number and does not
/// know the length.
bool isComplete(const Data& externalForm) {
  if (externalForm.size() < KAUTH_FILESEC_SIZE(0)) return false;
  std::uint32_t bigEndianCount = 0;
  std::memcpy(&bigEndianCount, externalForm.data() + countOffset, sizeof bigEndianCount);
  const auto count = OSSwapBigToHostInt32(bigEndianCount);
  return count <= ACL_MAX_ENTRIES && externalForm.size() == KAUTH_FILESEC_SIZE(count);
}

PosixCode removeList(const HeldObject& object) {
  const FileSecurityOwner security(::filesec_init());
  // An object that this cannot be made for is passed over.
  if (!security) return PosixCode::success;
  void* const removal = _FILESEC_REMOVE_ACL;
  if (::filesec_set_property(security.get(), FILESEC_ACL, removal) != 0) return lastError();
  return codeFor(::fchmodx_np(object.descriptor(), security.get()));
}

/// `copy` is one of the calls that write a list as bytes. "No list" becomes a list without entries.
PosixResult<Data> formOf(const OptionalList& list, ssize_t (*copy)(void*, acl_t, ssize_t)) {
  const AclOwner source(list ? ::acl_dup(list->content().list.get()) : ::acl_init(0));
  if (!source) return lastError();
  const auto size = ::acl_size(source.get());
  if (size < 0) return lastError();
  Data form(static_cast<std::size_t>(size));
  if (copy(form.data(), source.get(), size) < 0) return lastError();
  return form;
}

/// For objects that cannot be opened. The kernel accepts exactly the length that the number of
/// entries makes, and removes the list when that number is the marker.
PosixCode setListByName(const HeldObject& object, const OptionalList& list) {
  auto form = formOf(list, ::acl_copy_ext_native);
  if (!form) return form.error();
  if (!list) {
    constexpr std::uint32_t removalMarker = KAUTH_FILESEC_NOACL;
    std::memcpy(form->data() + countOffset, &removalMarker, sizeof removalMarker);
  }
  const attrreference_t where{sizeof where, static_cast<std::uint32_t>(form->size())};
  Data value(sizeof where);
  std::memcpy(value.data(), &where, sizeof where);
  value.insert(value.end(), form->begin(), form->end());
  auto attribute = common_attribute::listOf(ATTR_CMN_EXTENDED_SECURITY);
  const auto code = common_attribute::attributeCode(
      ::setattrlistat(object.descriptor(), object.name().c_str(), &attribute, value.data(),
                      value.size(), FSOPT_NOFOLLOW));
  // An object that cannot have a list has no list to remove.
  return !list && code == PosixCode::notSupported ? PosixCode::success : code;
}

bool markAsInherited(acl_entry_t entry) {
  acl_flagset_t flags = nullptr;
  return ::acl_get_flagset_np(entry, &flags) == 0 &&
         ::acl_add_flag_np(flags, ACL_ENTRY_INHERITED) == 0 &&
         ::acl_set_flagset_np(entry, flags) == 0;
}

/// A list without entries is no list. The list of a socket or device can be replaced, but not read:
/// `list` returns none for these.
class MacosAccessControl final : public AccessControl {
 public:
  PosixResult<OptionalList> internalized(const Data& externalForm) override {
    if (!isComplete(externalForm)) return PosixCode::invalidArgument;
    AclOwner list(::acl_copy_int(externalForm.data()));
    if (!list) return PosixCode::invalidArgument;
    return listOf(std::move(list));
  }

  PosixResult<Data> externalized(const OptionalList& list) override {
    return formOf(list, ::acl_copy_ext);
  }

  PosixResult<OptionalList> fromText(const std::string& text) override {
    AclOwner list(::acl_from_text(text.c_str()));
    if (!list) return PosixCode::invalidArgument;
    return listOf(std::move(list));
  }

  PosixResult<AccessControlList> markedAsInherited(const AccessControlList& list) override {
    AclOwner copy(::acl_dup(list.content().list.get()));
    if (!copy) return lastError();
    acl_entry_t entry = nullptr;
    for (int which = ACL_FIRST_ENTRY; ::acl_get_entry(copy.get(), which, &entry) == 0;
         which = ACL_NEXT_ENTRY) {
      if (!markAsInherited(entry)) return lastError();
    }
    return *listOf(std::move(copy));
  }

  PosixResult<OptionalList> list(const HeldObject& object) override {
    if (!object.name().empty()) return OptionalList();
    AclOwner list(::acl_get_fd_np(object.descriptor(), ACL_TYPE_EXTENDED));
    if (list) return listOf(std::move(list));
    const auto code = lastError();
    const bool hasNone = code == PosixCode::noEntry || code == PosixCode::notSupported;
    return hasNone ? PosixResult<OptionalList>(OptionalList()) : code;
  }

  PosixCode setList(const HeldObject& object, const OptionalList& wanted) override {
    if (!object.name().empty()) return setListByName(object, wanted);
    const auto own = list(object);
    if (!own) return own.error();
    if (!wanted) return *own ? removeList(object) : PosixCode::success;
    const auto ownForm = externalized(*own);
    const auto wantedForm = externalized(wanted);
    if (ownForm && wantedForm && *ownForm == *wantedForm) return PosixCode::success;
    return codeFor(
        ::acl_set_fd_np(object.descriptor(), wanted->content().list.get(), ACL_TYPE_EXTENDED));
  }

  PosixResult<AccessRights> rights(const HeldObject& object, const FileStatus& current) override {
    auto own = list(object);
    if (!own) return own.error();
    return AccessRights{current.permissions(), std::move(*own), std::nullopt};
  }

  PosixCode setRights(const HeldObject& object, const AccessRights& rights) override {
    const auto code = object.setPermissions(rights.permissions);
    const auto listCode = setList(object, rights.list);
    if (code != PosixCode::success) return code;
    return listCode == PosixCode::notSupported ? PosixCode::success : listCode;
  }
};

}  // namespace

std::unique_ptr<AccessControl> makeAccessControl() {
  return std::make_unique<MacosAccessControl>();
}

}  // namespace qrt
