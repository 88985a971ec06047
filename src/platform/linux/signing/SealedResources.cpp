#include "platform/linux/signing/SealedResources.h"

#include <regex.h>

#include <algorithm>
#include <set>
#include <string_view>

#include "base/Path.h"
#include "platform/CodeSigning.h"
#include "platform/PropertyLists.h"
#include "platform/linux/files/LinuxFileSystem.h"

namespace qrt {
namespace {

/// Several times what signing tools write.
constexpr std::size_t mostRules = 128;

/// The home platform has no longer paths.
constexpr std::size_t longestPath = 1024;

/// False for patterns that make `regcomp` crash or take gigabytes, and for those that it reads in a
/// way of its own. Each "+" can double what precedes it.
bool isSafePattern(std::string_view pattern) {
  constexpr std::size_t longestPattern = 256;
  constexpr int mostGroups = 16, mostPluses = 4;
  if (pattern.size() > longestPattern || pattern.find('\0') != pattern.npos ||
      std::count(pattern.begin(), pattern.end(), '(') > mostGroups ||
      std::count(pattern.begin(), pattern.end(), '+') > mostPluses) {
    return false;
  }
  // References to groups, which take exponential time, and extensions of the system's library.
  constexpr std::string_view notLiteral = "123456789wWsSbB<>`'";
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '{') return false;
    const bool isEscape = pattern[i] == '\\' && ++i < pattern.size();
    if (isEscape && notLiteral.find(pattern[i]) != notLiteral.npos) return false;
  }
  return true;
}

/// Whether a part of the path matches the extended regular expression; none when the pattern is
/// refused or memory runs out. It is compiled for each path, because `regexec` keeps what it learns
/// from each text until the pattern is freed.
std::optional<bool> matches(const std::string& pattern, const std::string& path) {
  regex_t compiled;
  const bool isPattern =
      isSafePattern(pattern) && regcomp(&compiled, pattern.c_str(), REG_EXTENDED | REG_NOSUB) == 0;
  if (!isPattern) return std::nullopt;
  const auto answer = regexec(&compiled, path.c_str(), 0, nullptr, 0);
  regfree(&compiled);
  return answer == 0 || answer == REG_NOMATCH ? std::optional(answer == 0) : std::nullopt;
}

const PropertyValue* entry(const Dictionary& dictionary, std::string_view key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : &found->second;
}

const Dictionary* dictionaryIn(const Dictionary& dictionary, std::string_view key) {
  const auto* value = entry(dictionary, key);
  return value ? value->dictionary() : nullptr;
}

bool isSet(const Dictionary& dictionary, std::string_view key) {
  const auto* value = entry(dictionary, key);
  return value && value->number() && value->number()->asBool();
}

std::optional<ResourceSeal> digestSeal(ResourceSeal::Kind kind, DigestKind digestKind,
                                       const PropertyValue& value) {
  const auto* digest = value.data();
  if (!digest || digest->size() != digestSize(digestKind)) return std::nullopt;
  return ResourceSeal{kind, false, digestKind, *digest, {}};
}

std::optional<ResourceSeal> sealIn(const Dictionary& description) {
  using Kind = ResourceSeal::Kind;
  if (const auto* link = entry(description, "symlink")) {
    if (!link->string()) return std::nullopt;
    return ResourceSeal{Kind::link, false, DigestKind::sha1, {}, *link->string()};
  }
  // The first that exists counts, so the better hash of a file comes first.
  constexpr struct {
    const char* key;
    Kind kind;
    DigestKind digestKind;
  } forms[] = {{"cdhash", Kind::code, DigestKind::sha1},
               {"hash2", Kind::file, DigestKind::sha256},
               {"hash", Kind::file, DigestKind::sha1}};
  for (const auto& form : forms) {
    const auto* digest = entry(description, form.key);
    if (digest) return digestSeal(form.kind, form.digestKind, *digest);
  }
  return std::nullopt;
}

}  // namespace

std::optional<ResourceList> ResourceList::read(Bytes propertyList) {
  const auto list = readPropertyList(propertyList);
  const auto* dictionary = list ? list->dictionary() : nullptr;
  if (!dictionary) return std::nullopt;
  const bool isNewer = dictionary->contains("files2");
  const auto* files = dictionaryIn(*dictionary, isNewer ? "files2" : "files");
  const auto* rules = dictionaryIn(*dictionary, isNewer ? "rules2" : "rules");
  if (!files || !rules || rules->size() > mostRules) return std::nullopt;
  ResourceList result;
  for (const auto& [path, value] : *files) {
    if (!result.addSeal(path, value)) return std::nullopt;
  }
  for (const auto& [pattern, value] : *rules) {
    if (!result.addRule(pattern, value)) return std::nullopt;
  }
  return result;
}

bool ResourceList::addSeal(const std::string& path, const PropertyValue& value) {
  const auto* description = value.dictionary();
  auto seal = description ? sealIn(*description)
                          : digestSeal(ResourceSeal::Kind::file, DigestKind::sha1, value);
  if (!seal) return false;
  seal->isOptional = description && isSet(*description, "optional");
  seals_.emplace(path, std::move(*seal));
  return true;
}

bool ResourceList::addRule(const std::string& pattern, const PropertyValue& value) {
  const auto* description = value.dictionary();
  if (!matches(pattern, "") || !(description || value.number())) return false;
  Rule rule{pattern};
  if (description) {
    const auto* weight = entry(*description, "weight");
    if (weight && weight->number()) rule.weight = weight->number()->asDouble();
    rule.isOmitted = isSet(*description, "omit");
  } else {
    rule.isOmitted = !value.number()->asBool();
  }
  rules_.push_back(std::move(rule));
  return true;
}

/// The heaviest rule that matches decides. An object that no rule matches is not sealed.
bool ResourceList::allows(const std::string& path, SigningBudget& budget) const {
  if (path.size() > longestPath) return false;
  const Rule* heaviest = nullptr;
  for (const auto& rule : rules_) {
    if (heaviest && rule.weight <= heaviest->weight) continue;
    if (!SigningBudget::take(budget.patterns, 1)) return false;
    const auto isMatch = matches(rule.pattern, path);
    if (!isMatch) return false;
    if (*isMatch) heaviest = &rule;
  }
  return !heaviest || heaviest->isOmitted;
}

namespace {

/// The error lists no more. Never one: a caller may tolerate a single addition.
constexpr std::size_t mostDefects = 16;

/// Deeper than paths of the home platform can be.
constexpr std::size_t deepestFolder = 256;

/// The signature's own files, and a receipt that a store adds later.
constexpr std::string_view neverSealed[] = {"_CodeSignature", "CodeResources", "_MASReceipt"};

/// Whether a link in a folder `depth` levels below the bundle leads to a place in the bundle. Each
/// name may be a link itself, so ".." after a name could lead anywhere.
bool staysInside(std::string_view target, std::size_t depth) {
  if (target.empty() || target.front() == '/') return false;
  bool hasName = false;
  while (!target.empty()) {
    const auto name = path::takeFirstComponent(target);
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      hasName = true;
    } else if (hasName || depth-- == 0) {
      return false;
    }
  }
  return true;
}

/// Walks the bundle by descriptors, follows no link and collects what differs.
class ResourceComparison {
 public:
  ResourceComparison(const SignedBundle& bundle, const ResourceList& list, SigningBudget& budget,
                     const CodeCheck& codeCheck)
      : bundle_(bundle), list_(list), budget_(budget), codeCheck_(codeCheck) {}

  Outcome run() {
    checkAroundBase();
    checkFolder(openFolderBeneath(bundle_.base, ""), "", 0);
    checkMissing();
    if (defects_.empty()) return success;
    auto error = osStatusError(code_signing_status::badResource);
    for (const auto& [key, paths] : defects_) error.userInfo.emplace(key, paths);
    return error;
  }

 private:
  struct Entry {
    FileAt object;
    /// Relative to the same folder as the path of the entry's folder.
    std::string path;
    std::uint32_t type;
  };

  /// Returns false when not all entries could be visited. Ends early when enough is known.
  template <class Visit>
  bool visitEntries(PosixResult<Folder>& folder, const std::string& path, Visit visit) {
    while (folder && !isKnownEnough()) {
      const auto next = folder->next();
      if (next && !*next) return true;
      if (!next || !SigningBudget::take(budget_.objects, 1)) return false;
      const std::string name = (*next)->name;
      const FileAt object(*folder, name.c_str());
      auto type = (*next)->type;
      if (type == 0) {
        const auto status = LinuxFileSystem().status(object, Links::stay);
        if (status) type = status->type();
      }
      visit(Entry{object, path::appending(path, name), type});
    }
    return static_cast<bool>(folder);
  }

  void checkAroundBase() {
    std::string path;
    for (std::string_view rest = bundle_.basePath; !rest.empty();) {
      const auto next = path::takeFirstComponent(rest);
      checkBeside(path, next);
      path = path::appending(path, next);
    }
  }

  /// Allowed are the way to the base, files that the rules omit, and a framework's links to its
  /// current version.
  void checkBeside(const std::string& path, std::string_view next) {
    const bool isFramework = bundle_.basePath.starts_with("Versions");
    auto folder = openFolderBeneath(bundle_.root, path);
    const bool isComplete = visitEntries(folder, path, [&](const Entry& entry) {
      const std::string name = entry.object.name;
      const bool isFine = name == next ||
                          (entry.type == file_type::regular && list_.allows(name, budget_)) ||
                          (isFramework && linkMatches(entry.object, entry.path, ""));
      if (!isFine) report(resourceAddedKey, entry.path);
    });
    if (!isComplete) report(resourceAlteredKey, path);
  }

  void checkFolder(PosixResult<Folder> folder, const std::string& path, std::size_t depth) {
    const bool isComplete = visitEntries(folder, path, [&](const Entry& entry) {
      if (isPartOfSignature(entry.path)) return;
      const auto seal = list_.seals().find(entry.path);
      if (seal != list_.seals().end()) {
        checkSealed(entry, seal->second);
      } else if (entry.type == file_type::folder && depth < deepestFolder) {
        checkFolder(LinuxFileSystem().openFolder(entry.object, Links::stay), entry.path, depth + 1);
      } else if (entry.type == file_type::folder) {
        report(resourceAlteredKey, inBundle(entry.path));
      } else if (!list_.allows(entry.path, budget_)) {
        report(resourceAddedKey, inBundle(entry.path));
      }
    });
    if (!isComplete) report(resourceAlteredKey, inBundle(path));
  }

  bool isPartOfSignature(std::string_view path) const {
    return path == bundle_.executablePath ||
           std::find(std::begin(neverSealed), std::end(neverSealed), path) != std::end(neverSealed);
  }

  void checkSealed(const Entry& entry, const ResourceSeal& seal) {
    found_.insert(entry.path);
    bool matches = false;
    switch (seal.kind) {
      case ResourceSeal::Kind::file:
        matches = fileMatches(entry.object, seal);
        break;
      case ResourceSeal::Kind::link:
        matches = linkMatches(entry.object, inBundle(entry.path), seal.target);
        break;
      case ResourceSeal::Kind::code:
        matches = codeCheck_(entry.object, seal.digest);
        break;
    }
    if (!matches) report(resourceAlteredKey, inBundle(entry.path));
  }

  void checkMissing() {
    for (const auto& [path, seal] : list_.seals()) {
      if (isKnownEnough()) return;
      if (!seal.isOptional && !found_.contains(path)) report(resourceMissingKey, inBundle(path));
    }
  }

  bool fileMatches(FileAt object, const ResourceSeal& seal) {
    const auto file = openRegularFile(object);
    if (!file) return false;
    const FileRange whole{0, sizeOfFile(file->get())};
    return digestOfRange(file->get(), whole, seal.digestKind, budget_) == seal.digest;
  }

  /// An empty `target` stands for any target in the bundle.
  static bool linkMatches(FileAt object, const std::string& pathInBundle,
                          const std::string& target) {
    const auto found = LinuxFileSystem().linkTarget(object);
    const auto depth = std::count(pathInBundle.begin(), pathInBundle.end(), '/');
    return found && (target.empty() || *found == target) &&
           staysInside(*found, static_cast<std::size_t>(depth));
  }

  std::string inBundle(const std::string& path) const {
    return path::appending(bundle_.basePath, path);
  }

  void report(std::string_view key, const std::string& pathInBundle) {
    defects_[key].emplace_back(path::appending(bundle_.path, pathInBundle));
    ++defectCount_;
  }

  bool isKnownEnough() const { return defectCount_ >= mostDefects; }

  const SignedBundle& bundle_;
  const ResourceList& list_;
  SigningBudget& budget_;
  const CodeCheck& codeCheck_;
  std::set<std::string, std::less<>> found_;
  /// Paths by the keys of the error.
  std::map<std::string_view, Array> defects_;
  std::size_t defectCount_ = 0;
};

}  // namespace

Outcome checkSealedResources(const SignedBundle& bundle, const Data& resourceList,
                             SigningBudget& budget, const CodeCheck& codeCheck) {
  const auto list = ResourceList::read(resourceList);
  if (!list) return osStatusError(code_signing_status::resourcesInvalid);
  return ResourceComparison(bundle, *list, budget, codeCheck).run();
}

}  // namespace qrt
