// How the parts of a signed bundle lie in its folder.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyValue.h"
#include "platform/Folder.h"

namespace qrt {

/// An open bundle. What is sealed is below `base`, which is the folder itself or lies in it.
struct SignedBundle {
  Folder root;
  Folder base;
  /// From the root to the base, empty when they are the same.
  std::string basePath;
  Data infoPlist;
  /// From the base.
  std::string executablePath;

  /// None without an information file that names the executable.
  static std::optional<SignedBundle> in(Folder folder);

  /// The list of sealed files, none when there is none that can be read.
  std::optional<Data> resourceList() const;
};

}  // namespace qrt
