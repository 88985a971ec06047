#include "operations/StringTables.h"

#include "platform/FileSystem.h"
#include "platform/PropertyLists.h"

namespace qrt {

StringTables::StringTables(std::string bundlePath, std::string language, FileSystem& files)
    : resources_(std::move(bundlePath) + "/Resources/"),
      language_(std::move(language)),
      files_(files) {}

bool StringTables::contains(std::string_view name) { return table(name).has_value(); }

std::string StringTables::localizedStringForKey(const std::string& key, const std::string& value,
                                                std::string_view name) {
  if (const auto& texts = table(name.empty() ? defaultTable : name)) {
    if (const auto* text = stringIn(*texts, key)) return *text;
  }
  return value.empty() ? key : value;
}

const StringTables::Table& StringTables::table(std::string_view name) {
  const std::lock_guard lock(mutex_);
  auto found = tables_.find(name);
  if (found == tables_.end()) found = tables_.emplace(name, read(name)).first;
  return found->second;  // A table keeps its address and never changes.
}

StringTables::Table StringTables::read(std::string_view name) const {
  const auto file = std::string(name) + ".strings";
  for (const auto& path : {resources_ + language_ + ".lproj/" + file, resources_ + file}) {
    const auto bytes = files_.readFile(path.c_str(), maximumPropertyListBytes);
    if (!bytes) continue;
    const auto texts = readPropertyList(*bytes);
    const auto* dictionary = texts ? texts->dictionary() : nullptr;
    return dictionary ? *dictionary : Dictionary();
  }
  return std::nullopt;
}

}  // namespace qrt
