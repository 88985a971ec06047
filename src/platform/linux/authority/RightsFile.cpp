#include "platform/linux/authority/RightsFile.h"

#include "base/Text.h"

namespace qrt {
namespace {

constexpr const char* fileName = "rights.plist";

}  // namespace

std::optional<Dictionary> RightsFile::load() {
  const auto contents = state_.read(fileName);
  if (!contents) {
    if (contents.error() == PosixCode::noEntry) return Dictionary();
    return std::nullopt;
  }
  const auto list = readPropertyList(*contents);
  if (!list || !list->dictionary()) return std::nullopt;
  return *list->dictionary();
}

const Dictionary& RightsFile::current() {
  const auto version = state_.version(fileName);
  if (version != cachedVersion_) {
    // An unreadable database grants nothing beyond what every right needs.
    cached_ = load().value_or(Dictionary());
    cachedVersion_ = version;
  }
  return cached_;
}

bool RightsFile::store(const Dictionary& rights) {
  const auto text = writeXmlPropertyList(rights);
  if (!text) return false;
  return state_.replace(fileName, asBytes(*text)) == PosixCode::success;
}

std::optional<PropertyValue> RightsFile::definition(const std::string& name) {
  const std::lock_guard guard(mutex_);
  const auto& rights = current();
  const auto right = rights.find(name);
  if (right == rights.end() || !right->second.dictionary()) return std::nullopt;
  const auto found = right->second.dictionary()->find("definition");
  if (found == right->second.dictionary()->end()) return std::nullopt;
  return found->second;
}

bool RightsFile::set(const std::string& name, const PropertyValue& definition,
                     const std::string& description, const std::string& table) {
  const std::lock_guard guard(mutex_);
  const auto lock = state_.lock();
  auto rights = load();
  if (!lock || !rights) return false;
  rights->insert_or_assign(
      name, Dictionary{{"definition", definition}, {"description", description}, {"table", table}});
  return store(*rights);
}

bool RightsFile::remove(const std::string& name) {
  const std::lock_guard guard(mutex_);
  const auto lock = state_.lock();
  auto rights = load();
  if (!lock || !rights) return false;
  return rights->erase(name) == 1 && store(*rights);
}

}  // namespace qrt
