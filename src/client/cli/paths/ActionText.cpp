#include "client/cli/paths/ActionText.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

#include "client/cli/commandline/CallerPaths.h"
#include "client/cli/output/ShownName.h"
#include "client/cli/output/SizeText.h"
#include "platform/DiskDescription.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt {
namespace {

constexpr std::chrono::seconds longestCount{2};

constexpr std::string_view unknownExtent = "{OBJECT}";
constexpr std::string_view fileExtent = "{OBJECT} ({SIZE})";
constexpr std::string_view oneObjectExtent = "{OBJECT} (1 object, {SIZE})";
constexpr std::string_view folderExtent = "{OBJECT} ({COUNT} objects, {SIZE})";
constexpr std::string_view smallestExtent = "{OBJECT} (at least {COUNT} objects, {SIZE})";
constexpr const char* listOfObjects = "{OBJECT} and {COUNT} more";

/// With `valueOf(name)` in each place "{name}". Values are not looked at again.
template <class ValueOf>
std::string filled(std::string_view form, const ValueOf& valueOf) {
  std::string text;
  for (std::size_t open; (open = form.find('{')) != std::string_view::npos;) {
    const auto close = std::min(form.find('}', open), form.size() - 1);
    text += form.substr(0, open);
    text += valueOf(form.substr(open + 1, close - open - 1));
    form.remove_prefix(close + 1);
  }
  return text += form;
}

std::string filled(std::string_view form, const std::string& object, std::uint64_t count,
                   std::uint64_t bytes = 0) {
  return filled(form, [&](std::string_view name) {
    if (name == "OBJECT") return object;
    return name == "COUNT" ? countText(count) : sizeText(bytes);
  });
}

std::string_view formFor(const ObjectCount& count) {
  if (!count.isComplete) return smallestExtent;
  return count.objects == 1 ? oneObjectExtent : folderExtent;
}

/// `sda ("A model", 1 TB)`, as far as it is known.
std::string deviceText(const std::string& name, const std::string& root) {
  const auto disk = describeDisk(root, name);
  auto facts = disk.model.empty() ? "" : shownName(disk.model);
  if (disk.bytes > 0) facts += (facts.empty() ? "" : ", ") + sizeText(disk.bytes);
  return facts.empty() ? shownName(name) : shownName(name) + " (" + facts + ')';
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : " ") + shownName(word);
  return shortened(text);
}

}  // namespace

std::string ActionText::in(const Translation& language) {
  return filled(language(std::string(operation_.action)),
                [&](std::string_view place) { return textOf(place, language); });
}

std::string ActionText::textOf(std::string_view place, const Translation& language) {
  const auto name = place.substr(0, place.find('*'));
  const auto& arguments = operation_.arguments;
  const auto* const argument =
      std::find_if(arguments.begin(), arguments.end(),
                   [&](const ArgumentDescription& each) { return each.name == name; });
  if (argument == arguments.end()) return {};
  const auto& given = words_[static_cast<std::size_t>(argument - arguments.begin())];
  if (argument->form == ArgumentForm::device) {
    return deviceText(given.front(), context_.platform.root);
  }
  if (argument->form != ArgumentForm::path || given.empty()) return joined(given);
  const auto absolute = absolutePath(given.front(), context_.caller);
  const auto& path = absolute ? *absolute : given.front();
  auto object = place == name ? shownName(path) : withExtent(path, language);
  if (given.size() == 1) return object;
  return filled(language(listOfObjects), object, given.size() - 1);
}

std::string ActionText::withExtent(const std::string& path, const Translation& language) {
  if (!extent_) extent_ = extentOf(path);
  return filled(language(std::string(extent_->form)), shownName(path), extent_->count.objects,
                extent_->count.bytes);
}

ActionText::Extent ActionText::extentOf(const std::string& path) const {
  auto& files = context_.platform.files;
  const auto status = files.status(path.c_str(), Links::stay);
  if (!status) return {unknownExtent, {}};
  if (status->type() == file_type::regular) return {fileExtent, {1, status->size, true}};
  if (!status->isFolder() || !isDeep()) return {unknownExtent, {}};
  const auto count = countObjects(files, path, std::chrono::steady_clock::now() + longestCount);
  return {formFor(count), count};
}

/// An operation with an option to act on what is below its objects does so only with it.
bool ActionText::isDeep() const {
  for (std::size_t i = 0; i < words_.size(); ++i) {
    if (operation_.arguments.data()[i].name == "--recursive") return !words_[i].empty();
  }
  return true;
}

}  // namespace qrt
