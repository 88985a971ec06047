// Compares the files of a bundle with what was sealed.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "platform/linux/signing/ResourceEnvelope.h"
#include "platform/linux/signing/SignedBundle.h"

namespace qrt {

struct SigningBudget;

/// One comparison. Folders are walked by their descriptors and no link is followed.
class SealedResources {
 public:
  /// Whether the code at a place of the bundle is intact and has a code directory of that hash.
  using CodeCheck = std::function<bool(FileAt code, const Data& directoryHash)>;

  /// `bundlePath` is only for telling which files are meant. The others outlive the object.
  SealedResources(const SignedBundle& bundle, std::string bundlePath,
                  const ResourceEnvelope& envelope, SigningBudget& budget, CodeCheck codeCheck);

  /// Success when every sealed object is there as it was, and nothing else but what the rules leave
  /// out.
  Outcome check();

 private:
  void checkAroundBase();
  void checkBeside(Folder& folder, const std::string& path, std::string_view next);
  void checkFolder(Folder& folder, const std::string& path, std::size_t depth);
  void checkSealed(FileAt object, const std::string& path, std::uint32_t type,
                   const ResourceSeal& seal);
  void checkUnsealed(FileAt object, const std::string& path, std::uint32_t type, std::size_t depth);
  void checkMissing();

  bool isPartOfSignature(std::string_view path) const;
  bool fileMatches(FileAt object, const ResourceSeal& seal);
  bool linkMatches(FileAt object, const std::string& pathInBundle, const std::string& target);
  std::string inBundle(const std::string& path) const;
  void report(std::string_view key, const std::string& pathInBundle);
  bool isKnownEnough() const;

  const SignedBundle& bundle_;
  const std::string bundlePath_;
  const ResourceEnvelope& envelope_;
  SigningBudget& budget_;
  const CodeCheck codeCheck_;
  std::set<std::string, std::less<>> found_;
  /// Paths by the keys of the error.
  std::map<std::string_view, Array> defects_;
};

}  // namespace qrt
