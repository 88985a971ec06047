// Features of the running system that operations depend on.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrt {

struct SystemFeature {
  /// Short, in lower case.
  std::string_view name;
  bool isPresent;
  /// True when the daemon cannot work without it.
  bool isRequired;
  /// Its use, or what happens without it.
  std::string_view note;
};

/// Examines the system at each call and changes nothing. In the order in which people read them.
std::vector<SystemFeature> systemFeatures();

/// The authority that decides about the rights of users other than root.
struct AuthorityInUse {
  std::string name;
  /// False when it never asks a user for a password.
  bool canAsk;
  /// The command that mends it when it should answer and does not; else empty.
  std::string remedy = {};
};
AuthorityInUse authorityInUse();

}  // namespace qrt
