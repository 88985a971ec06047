#include "platform/linux/signing/ResourceEnvelope.h"

#include <algorithm>

#include "platform/posix/propertylists/BoundedPropertyLists.h"

namespace qrt {
namespace {

/// Several times what signing tools write.
constexpr std::size_t mostRules = 128;

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
  // The first that is there: the better hash of a file comes before the older one.
  struct Form {
    const char* key;
    Kind kind;
    DigestKind digestKind;
  };
  constexpr Form forms[] = {{"cdhash", Kind::code, DigestKind::sha1},
                            {"hash2", Kind::file, DigestKind::sha256},
                            {"hash", Kind::file, DigestKind::sha1}};
  for (const auto& form : forms) {
    const auto* digest = entry(description, form.key);
    if (digest) return digestSeal(form.kind, form.digestKind, *digest);
  }
  return std::nullopt;
}

}  // namespace

std::optional<ResourceEnvelope> ResourceEnvelope::read(Bytes propertyList) {
  const auto list = BoundedPropertyLists().parse(propertyList);
  const auto* dictionary = list ? list->dictionary() : nullptr;
  if (!dictionary) return std::nullopt;
  const bool isNewer = dictionary->contains("files2");
  const auto* files = dictionaryIn(*dictionary, isNewer ? "files2" : "files");
  const auto* rules = dictionaryIn(*dictionary, isNewer ? "rules2" : "rules");
  if (!files || !rules || rules->size() > mostRules) return std::nullopt;
  ResourceEnvelope envelope;
  for (const auto& [path, value] : *files) {
    if (!envelope.addSeal(path, value)) return std::nullopt;
  }
  for (const auto& [pattern, value] : *rules) {
    if (!envelope.addRule(pattern, value)) return std::nullopt;
  }
  return envelope;
}

bool ResourceEnvelope::addSeal(const std::string& path, const PropertyValue& value) {
  const auto* description = value.dictionary();
  auto seal = description ? sealIn(*description)
                          : digestSeal(ResourceSeal::Kind::file, DigestKind::sha1, value);
  if (!seal) return false;
  seal->isOptional = description && isSet(*description, "optional");
  seals_.emplace(path, std::move(*seal));
  return true;
}

bool ResourceEnvelope::addRule(const std::string& pattern, const PropertyValue& value) {
  auto compiled = SealPattern::compile(pattern);
  const auto* description = value.dictionary();
  if (!compiled || !(description || value.number())) return false;
  Rule rule{std::move(*compiled)};
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

bool ResourceEnvelope::allows(std::string_view path, std::uint64_t& steps) const {
  const Rule* heaviest = nullptr;
  for (const auto& rule : rules_) {
    if (heaviest && rule.weight <= heaviest->weight) continue;
    if (rule.pattern.matches(path, steps)) heaviest = &rule;
  }
  return steps > 0 && (!heaviest || heaviest->isOmitted);
}

}  // namespace qrt
