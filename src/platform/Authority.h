// The system's authorization services and rights database.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "protocol/Caller.h"

namespace qrt {

class Log;

/// Status codes of the authorization services.
enum class AuthorizationStatus : std::int32_t {
  noError = 0,
  invalidPointer = -60004,
  denied = -60005,
  canceled = -60006,
  interactionNotAllowed = -60007,
  internal = -60008,
  externalizeNotAllowed = -60009,
  internalizeNotAllowed = -60010,
};

constexpr std::int32_t number(AuthorizationStatus status) {
  return static_cast<std::int32_t>(status);
}

/// Flags of a rights request and of freeing a reference.
namespace authorization_flag {
inline constexpr std::uint32_t none = 0;
inline constexpr std::uint32_t interactionAllowed = 1;
inline constexpr std::uint32_t extendRights = 2;
inline constexpr std::uint32_t destroyRights = 8;
}  // namespace authorization_flag

using AuthorizationExternalForm = std::array<std::uint8_t, 32>;

/// Records for the authorization services. Names are constants; values are heap copies.
struct AuthorizationItem {
  const char* name;
  std::size_t valueLength;
  void* value;
  std::uint32_t flags;
};

struct AuthorizationEnvironment {
  std::uint32_t count;
  AuthorizationItem* items;
};

/// A right, and the sentence with which a dialog asks for it.
struct RequestedRight {
  std::string name;
  std::string sentence;
};

/// A reference to one client's authorization. Its destructor keeps the rights that were acquired
/// through it; `free` can destroy them.
class Authorization {
 public:
  virtual ~Authorization() = default;

  /// Asks for one right. Can block for as long as a user takes to answer a dialog.
  virtual AuthorizationStatus copyRight(const RequestedRight& right,
                                        const AuthorizationEnvironment& environment,
                                        std::uint32_t flags) = 0;

  /// Ends the reference; with `authorization_flag::destroyRights` the acquired rights end as well.
  virtual void free(std::uint32_t flags) = 0;
};

/// Thread-safe.
class Authority {
 public:
  virtual ~Authority() = default;

  /// A reference to the authorization that a client externalized. `caller` sent the form, but maybe
  /// another process made it; a dialog about a right ends with the connection of `caller`. `log`
  /// gets the lines about it and outlives the reference.
  virtual Result<std::unique_ptr<Authorization>, AuthorizationStatus> createFromExternalForm(
      const Caller& caller, const AuthorizationExternalForm& form, Log& log) = 0;

  /// A new reference of this process, without rights.
  virtual Result<std::unique_ptr<Authorization>, AuthorizationStatus> create() = 0;

  /// The file with which a package has brought the rights; empty when they are installed one by
  /// one. Such rights can neither be set nor removed here.
  virtual std::string packagedRights() const { return {}; }

  /// The rights database. `rightGet` returns `denied` for an unknown right.
  virtual AuthorizationStatus rightGet(const std::string& name) = 0;
  virtual AuthorizationStatus rightSet(Authorization& authorization, const std::string& name,
                                       const PropertyValue& definition,
                                       const std::string& description,
                                       const std::string& localizationTable) = 0;
  virtual AuthorizationStatus rightRemove(Authorization& authorization,
                                          const std::string& name) = 0;
};

}  // namespace qrt
