#include "protocol/FileObjectRecords.h"

namespace qrt {

Dictionary dictionaryOf(const FileObjectRecord& record) {
  Dictionary entries;
  forEachEntry(record, [&](std::string_view key, auto value) { entries.emplace(key, value); });
  return entries;
}

void FileObjectRecords::reserve(std::size_t count) {
  constexpr std::size_t usualPathLength = 128;
  kept_.reserve(count);
  paths_.reserve(count * usualPathLength);
}

void FileObjectRecords::add(const FileObjectRecord& record) {
  paths_.append(record.path);
  kept_.push_back({record, paths_.size()});
}

FileObjectRecord FileObjectRecords::operator[](std::size_t index) const {
  const auto begin = index == 0 ? 0 : kept_[index - 1].pathEnd;
  auto record = kept_[index].record;
  record.path = std::string_view(paths_).substr(begin, kept_[index].pathEnd - begin);
  return record;
}

}  // namespace qrt
