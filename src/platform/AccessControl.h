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

/// A list that is attached to no object. Immutable; copies share the contents.
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

/// The rights on an object, without its owner and group.
struct AccessRights {
  /// The twelve permission bits, as the object's status shows them.
  std::uint32_t permissions = 0;
  std::optional<AccessControlList> list;
  /// The list that new objects in a folder get, where the system keeps it apart from the folder's
  /// own list.
  std::optional<AccessControlList> inheritance;
};

/// Extended access control lists; errors are contract codes. "No list" is a value too: an object
/// without a list has it, and so has every object where the file system keeps no lists. Setting it
/// removes a list.
///
/// macOS: the extended list of an object (`ACL_TYPE_EXTENDED`), independent of its permission bits.
/// Flags of a folder's entries mark what new objects inherit; `inheritance` is not used.
///
/// Linux: the entries for named users and groups with the mask that limits them. The entries for
/// owner, group and others stay with the object and are never copied to another one; a list that
/// says no more than the permission bits counts as no list. In the permission bits, the mask is in
/// the place of the group's bits, so bits and list have a meaning only together: to copy them, use
/// `rights` and `setRights`. `inheritance` is a folder's default list.
///
/// Every call acts on the object that is held. Stateless and thread-safe.
class AccessControl {
 public:
  virtual ~AccessControl() = default;

  /// Reads a list in the system's external form (`acl_copy_ext`). Fails with `invalidArgument` when
  /// the bytes are not exactly such a form.
  virtual PosixResult<std::optional<AccessControlList>> internalized(const Data& externalForm) = 0;
  virtual PosixResult<Data> externalized(const std::optional<AccessControlList>& list) = 0;

  /// Reads a list in the system's text form (`acl_from_text`); other texts are `invalidArgument`.
  virtual PosixResult<std::optional<AccessControlList>> fromText(const std::string& text) = 0;

  /// The list with each of its entries marked as inherited, where the system has such a mark.
  virtual PosixResult<AccessControlList> markedAsInherited(const AccessControlList& list) = 0;

  virtual PosixResult<std::optional<AccessControlList>> list(const HeldObject& object) = 0;
  /// Replaces the list; writes nothing when the object has that list already. Removing the list of
  /// an object without one always succeeds. Setting a list that the file system cannot keep fails
  /// with `notSupported`.
  virtual PosixCode setList(const HeldObject& object,
                            const std::optional<AccessControlList>& list) = 0;

  /// `current` is the object's status, just read; the permission bits are taken from it.
  virtual PosixResult<AccessRights> rights(const HeldObject& object, const FileStatus& current) = 0;
  /// Gives an object exactly these rights; writes nothing that is so already. When one part cannot
  /// be set, the others still are, and the first failure is returned. Where the file system cannot
  /// keep a list, this sets permission bits alone, which give no user more than the list did.
  virtual PosixCode setRights(const HeldObject& object, const AccessRights& rights) = 0;
};

}  // namespace qrt
