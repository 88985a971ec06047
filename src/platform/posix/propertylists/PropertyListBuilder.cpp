#include "platform/posix/propertylists/PropertyListBuilder.h"

namespace qrt {
namespace {

using Problem = PropertyListProblem;

std::size_t bytesIn(const PropertyValue& scalar) {
  if (const auto* text = scalar.string()) return text->size();
  if (const auto* data = scalar.data()) return data->size();
  return 0;
}

}  // namespace

PropertyListCheck PropertyListBuilder::key(std::string name) {
  if (open_.empty() || !std::holds_alternative<Dictionary>(open_.back().content)) {
    return Problem{"a key outside of a dictionary"};
  }
  if (open_.back().key) return Problem{"a key without a value"};
  if (auto problem = tally_.add(name.size())) return problem;
  open_.back().key = std::move(name);
  return {};
}

PropertyListCheck PropertyListBuilder::add(PropertyValue value) {
  if (auto problem = checkPlace()) return problem;
  if (auto problem = tally_.add(bytesIn(value))) return problem;
  place(std::move(value));
  return {};
}

PropertyListCheck PropertyListBuilder::end() {
  if (open_.back().key) return Problem{"a key without a value"};
  Content content = std::move(open_.back().content);
  open_.pop_back();
  tally_.end();
  std::visit([this](auto& collection) { place(std::move(collection)); }, content);
  return {};
}

Result<PropertyValue, PropertyListProblem> PropertyListBuilder::finish() {
  if (!root_) return Problem{"there is no value"};
  return std::move(*root_);
}

PropertyListCheck PropertyListBuilder::begin(Content content) {
  if (auto problem = checkPlace()) return problem;
  if (auto problem = tally_.begin()) return problem;
  open_.push_back({std::move(content), {}});
  return {};
}

PropertyListCheck PropertyListBuilder::checkPlace() const {
  if (open_.empty()) {
    if (root_) return Problem{"there is more than one value"};
  } else if (std::holds_alternative<Dictionary>(open_.back().content) && !open_.back().key) {
    return Problem{"a value without a key in a dictionary"};
  }
  return {};
}

void PropertyListBuilder::place(PropertyValue value) {
  if (open_.empty()) {
    root_ = std::move(value);
    return;
  }
  auto& [content, key] = open_.back();
  if (auto* array = std::get_if<Array>(&content)) {
    array->push_back(std::move(value));
    return;
  }
  std::get<Dictionary>(content).insert_or_assign(std::move(*key), std::move(value));
  key.reset();
}

}  // namespace qrt
