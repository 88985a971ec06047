// Translations of texts, read from a bundle folder.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "base/PropertyValue.h"

namespace qrt {

class FileSystem;

/// The tables of one language: "Resources/<language>.lproj/<table>.strings" in the bundle folder,
/// or "Resources/<table>.strings". Each file is read once. Thread-safe.
class StringTables {
 public:
  StringTables(std::string bundlePath, std::string language, FileSystem& files);

  /// Whether the bundle has a file for the table. A file that is no string table counts as empty.
  bool contains(std::string_view table);

  /// The text under `key`; if it is missing, `value`; if that is empty, the key. An empty table
  /// name means `defaultTable`.
  std::string localizedStringForKey(const std::string& key, const std::string& value,
                                    std::string_view table);

  static constexpr std::string_view defaultTable = "Localizable";

 private:
  using Table = std::optional<Dictionary>;

  const Table& table(std::string_view name);
  Table read(std::string_view name) const;

  std::string resources_;
  std::string language_;
  FileSystem& files_;

  std::mutex mutex_;
  std::map<std::string, Table, std::less<>> tables_;
};

/// How texts are shown to the user.
struct Localization {
  StringTables& tables;
  /// If set, the table "<table>-Polite" replaces a table where the bundle has it.
  bool shouldUIUsePoliteForms;
};

}  // namespace qrt
