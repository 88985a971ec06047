// The records of file-system objects that a client receives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/PropertyValue.h"
#include "protocol/Names.h"

namespace qrt {

/// Owns no text.
struct FileObjectRecord {
  std::string_view path;
  /// The platform's name of the type.
  std::string_view type;
  /// In bytes.
  std::uint64_t size = 0;
  Date modificationDate;
  /// The twelve permission bits.
  std::uint32_t mode = 0;
};

/// Passes keys and values to `visit` in the order of a dictionary.
template <class Visit>
void forEachEntry(const FileObjectRecord& record, Visit visit) {
  visit(file_object_key::mode, record.mode);
  visit(file_object_key::modificationDate, record.modificationDate);
  visit(file_object_key::path, record.path);
  visit(file_object_key::size, record.size);
  visit(file_object_key::type, record.type);
}

Dictionary dictionaryOf(const FileObjectRecord& record);

/// Records in the order in which they were added. One text holds all paths, so that a record needs
/// no memory of its own.
class FileObjectRecords {
 public:
  /// Makes room for that many records with paths of a usual length.
  void reserve(std::size_t count);

  /// Copies the path. The name of the type must outlive the records.
  void add(const FileObjectRecord& record);

  std::size_t count() const { return kept_.size(); }
  /// Valid until the next `add`.
  FileObjectRecord operator[](std::size_t index) const;

  /// The memory that the records take.
  std::size_t bytes() const { return paths_.size() + kept_.size() * sizeof(Kept); }

 private:
  struct Kept {
    /// Without its path, which would move while the text grows.
    FileObjectRecord record;
    std::size_t pathEnd;
  };

  std::string paths_;
  std::vector<Kept> kept_;
};

}  // namespace qrt
