// Access control lists of file-system objects.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/HeldObject.h"

namespace qrt {

/// A list by itself, attached to nothing. Immutable; copies share what is in it.
class AccessControlList {
 public:
  /// The port's own.
  struct Content;

  explicit AccessControlList(std::shared_ptr<const Content> content)
      : content_(std::move(content)) {}

  /// For the port alone.
  const Content& content() const { return *content_; }

 private:
  std::shared_ptr<const Content> content_;
};

/// Who may do what with an object, apart from whose it is.
struct AccessRights {
  /// The twelve permission bits, as the object's status shows them.
  std::uint32_t permissions = 0;
  std::optional<AccessControlList> list;
  /// What new objects in a folder get, where the system keeps that apart from the folder's list.
  std::optional<AccessControlList> inheritance;
};

/// Extended access control lists, in contract numbers. No list is a value like any other: objects
/// without one and file systems that know none have it, and it takes a list away.
///
/// macOS: the extended list of an object (`ACL_TYPE_EXTENDED`), which is apart from its permission
/// bits. What a folder passes on is marked in its own entries; there is no `inheritance`.
///
/// Linux: the entries for named users and groups with the mask that limits them. The entries for
/// owner, group and others are the object's own and never part of what a list gives to another
/// object; a list that says no more than the permission bits is no list. Permission bits show the
/// mask where the group's should be, so that bits and list of an object only make sense together:
/// whoever copies them copies `rights`. The list that a folder gives to new objects in it is the
/// `inheritance`.
///
/// Every call acts on the object that is held. Stateless and thread-safe.
class AccessControl {
 public:
  virtual ~AccessControl() = default;

  /// The list that was written in the system's external form (`acl_copy_ext`). Bytes that are not
  /// exactly that are `invalidArgument`.
  virtual PosixResult<std::optional<AccessControlList>> internalized(const Data& externalForm) = 0;
  virtual PosixResult<Data> externalized(const std::optional<AccessControlList>& list) = 0;

  /// A list as people write it on this system (`acl_from_text`). Other texts are `invalidArgument`.
  virtual PosixResult<std::optional<AccessControlList>> fromText(const std::string& text) = 0;

  /// The list with each of its entries marked as inherited, where entries have such a mark.
  virtual PosixResult<AccessControlList> markedAsInherited(const AccessControlList& list) = 0;

  virtual PosixResult<std::optional<AccessControlList>> list(const HeldObject& object) = 0;
  /// Replaces the list. One that is already there is not written. Taking a list away from an object
  /// that has none succeeds everywhere; a list that the file system cannot keep is `notSupported`.
  virtual PosixCode setList(const HeldObject& object,
                            const std::optional<AccessControlList>& list) = 0;

  /// `current` is the object's status as just read; the permission bits are those in it.
  virtual PosixResult<AccessRights> rights(const HeldObject& object, const FileStatus& current) = 0;
  /// Gives an object the very rights of another; what is so already is not written. A part that
  /// cannot be set does not keep the others from being set; the first failure is returned. Where
  /// the file system cannot keep a list, only permission bits are set, which then give no user more
  /// than the list did.
  virtual PosixCode setRights(const HeldObject& object, const AccessRights& rights) = 0;
};

}  // namespace qrt
