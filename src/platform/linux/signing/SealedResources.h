// The list of a bundle's sealed files, and the comparison of the bundle with it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "platform/linux/signing/SignedFiles.h"

namespace qrt {

/// One object as it was when the bundle was signed.
struct ResourceSeal {
  /// Code has a signature of its own.
  enum class Kind : std::uint8_t { file, link, code };

  Kind kind = Kind::file;
  bool isOptional = false;
  /// Of a file its digest; of code the short hash of a code directory.
  DigestKind digestKind = DigestKind::sha1;
  Data digest;
  /// Of a link.
  std::string target;
};

/// Paths in it are relative to the folder that contains the list's folder.
class ResourceList {
 public:
  /// None when the property list is not such a list, or has a seal or a rule that is not
  /// understood. Reads the newer form where a list has both.
  static std::optional<ResourceList> read(Bytes propertyList);

  using Seals = std::map<std::string, ResourceSeal, std::less<>>;
  /// By their paths.
  const Seals& seals() const { return seals_; }

  /// Whether the rules allow an object without a seal.
  bool allows(const std::string& path, SigningBudget& budget) const;

 private:
  struct Rule {
    std::string pattern;
    double weight = 1;
    bool isOmitted = false;
  };

  bool addSeal(const std::string& path, const PropertyValue& value);
  bool addRule(const std::string& pattern, const PropertyValue& value);

  Seals seals_;
  std::vector<Rule> rules_;
};

/// An open bundle. `base` is the folder whose contents are sealed: the bundle's own or one in it.
struct SignedBundle {
  /// Only for error messages.
  std::string path;
  Folder root;
  Folder base;
  /// From the root; empty when both are the same folder.
  std::string basePath;
  /// From the base.
  std::string executablePath;
  Data infoPlist;
};

/// Whether the code at a place in the bundle is intact and has a code directory of that hash.
using CodeCheck = std::function<bool(FileAt code, const Data& directoryHash)>;

/// Succeeds when every sealed object is as it was and the bundle has no others but those that the
/// rules allow. The list is authentic: the signature seals it.
Outcome checkSealedResources(const SignedBundle& bundle, const Data& resourceList,
                             SigningBudget& budget, const CodeCheck& codeCheck);

}  // namespace qrt
