#include "platform/linux/signing/SignedBundle.h"

#include "base/PathText.h"
#include "platform/PropertyLists.h"
#include "platform/linux/files/LinuxFileSystem.h"
#include "platform/linux/signing/SealedFile.h"
#include "platform/posix/propertylists/BoundedPropertyLists.h"

namespace qrt {
namespace {

struct Form {
  const char* base;
  /// From the base.
  const char* infoPlist;
  const char* executableFolder;
};

/// In the order in which they are looked for.
constexpr Form forms[] = {
    {"Contents", "Info.plist", "MacOS/"},
    {"", "Resources/Info.plist", ""},
    {"", "Info.plist", ""},
};

/// The folder of a framework's current version; none in other bundles. Only a name can be that, not
/// a path.
std::optional<std::string> currentVersion(const Folder& root) {
  const auto versions = openFolderBeneath(root, "Versions");
  const auto name = versions ? LinuxFileSystem().linkTarget({*versions, "Current"})
                             : PosixResult<std::string>(versions.error());
  if (!name || !isPathComponent(*name)) return std::nullopt;
  return "Versions/" + *name;
}

std::optional<std::string> executableNamed(const Data& infoPlist) {
  const auto list = BoundedPropertyLists().parse(infoPlist);
  const auto* info = list ? list->dictionary() : nullptr;
  const auto* name = info ? stringIn(*info, "CFBundleExecutable") : nullptr;
  return name && isPathComponent(*name) ? std::optional(*name) : std::nullopt;
}

}  // namespace

std::optional<SignedBundle> SignedBundle::in(Folder folder) {
  const auto version = currentVersion(folder);
  for (const auto& form : forms) {
    const std::string basePath = version ? *version : form.base;
    auto base = openFolderBeneath(folder, basePath);
    if (!base) continue;
    auto infoPlist = readFileBeneath(*base, form.infoPlist, PropertyLists::maximumBytes);
    if (!infoPlist) continue;
    const auto executable = executableNamed(*infoPlist);
    if (!executable) return std::nullopt;
    return SignedBundle{std::move(folder), std::move(*base), basePath, std::move(*infoPlist),
                        form.executableFolder + *executable};
  }
  return std::nullopt;
}

std::optional<Data> SignedBundle::resourceList() const {
  for (const auto* path : {"_CodeSignature/CodeResources", "CodeResources"}) {
    auto list = readFileBeneath(base, path, PropertyLists::maximumBytes);
    if (list) return std::move(*list);
  }
  return std::nullopt;
}

}  // namespace qrt
