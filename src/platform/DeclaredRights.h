// The rights that the system's authority knows.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace qrt {

/// Who is granted a right: every user, one who knows an administrator's password, or others.
enum class RightRule { everybody, administrators, other };
using DeclaredRights = std::map<std::string, RightRule, std::less<>>;

/// Any user may ask. Nothing when the authority does not list its rights or does not answer.
std::optional<DeclaredRights> declaredRights();

}  // namespace qrt
