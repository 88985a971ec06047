// What protects objects from an operation.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "client/cli/plan/ObjectEffects.h"

namespace qrt {

struct FileStatus;

/// What a protection means for an operation.
enum class Consequence { cleared, stops, mayStop, harmless };

/// "cleared", "stops", "mayStop" or "harmless".
std::string_view wordFor(Consequence consequence);

struct Protection {
  /// "immutable flag".
  std::string_view name;
  Consequence consequence;
  std::uint64_t objects = 0;
  /// The first of them.
  std::string example;
};

/// Of objects, one for each name and consequence.
class Protections {
 public:
  void add(const Protections& others);
  void add(std::string_view name, Consequence consequence, const std::string& path);
  /// Those that are flags of the object.
  void addFlags(const FileStatus& status, const FlagRule& rule, const std::string& path);

  const std::vector<Protection>& all() const { return found_; }
  /// The first that stops the operation, or null.
  const Protection* obstacle() const;

 private:
  void add(const Protection& protection);

  std::vector<Protection> found_;
};

inline constexpr std::string_view accessControlListName = "access control list";
inline constexpr std::string_view readOnlyMountName = "read-only mount";
inline constexpr std::string_view mountPointName = "mount point";

}  // namespace qrt
