// What a signature says about the files of a bundle.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/PropertyValue.h"
#include "platform/linux/signing/BoundedBytes.h"
#include "platform/linux/signing/Digest.h"
#include "platform/linux/signing/SealPattern.h"

namespace qrt {

/// One object as it was when the bundle was signed.
struct ResourceSeal {
  /// Code has a signature of its own.
  enum class Kind : std::uint8_t { file, link, code };

  Kind kind = Kind::file;
  bool isOptional = false;
  /// Of a file its digest, of code that of a code directory.
  DigestKind digestKind = DigestKind::sha1;
  Data digest;
  /// What a link holds.
  std::string target;
};

/// The list of sealed objects. Paths are relative to the folder that holds the list's folder.
class ResourceEnvelope {
 public:
  /// None for what is no such list, and for one with seals or rules that are not understood. The
  /// newer of the two forms counts where a list has both.
  static std::optional<ResourceEnvelope> read(Bytes propertyList);

  /// By paths.
  using Seals = std::map<std::string, ResourceSeal, std::less<>>;
  const Seals& seals() const { return seals_; }

  /// Whether an object that has no seal may be there. `steps` is what looking through the patterns
  /// may still take.
  bool allows(std::string_view path, std::uint64_t& steps) const;

 private:
  struct Rule {
    SealPattern pattern;
    double weight = 1;
    bool isOmitted = false;
  };

  bool addSeal(const std::string& path, const PropertyValue& value);
  bool addRule(const std::string& pattern, const PropertyValue& value);

  Seals seals_;
  std::vector<Rule> rules_;
};

}  // namespace qrt
