// What the running system offers of the things that operations build on.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrt {

struct SystemFeature {
  /// Short, in lower case.
  std::string_view name;
  bool isPresent;
  /// True when the helper does not do its work without it.
  bool isRequired;
  /// What it is for, or what happens without it.
  std::string_view note;
};

/// Looked for now, in an order for people to read. Changes nothing.
std::vector<SystemFeature> systemFeatures();

/// Who decides about the rights of somebody who is not root.
struct AuthorityInUse {
  std::string name;
  /// False when a person without rights can never be asked for a password.
  bool canAsk;
};
AuthorityInUse authorityInUse();

}  // namespace qrt
