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
/// else "Resources/<table>.strings". Each file is read once. Thread-safe.
class StringTables {
 public:
  StringTables(std::string bundlePath, std::string language, FileSystem& files);

  /// Whether the bundle has a file for the table. One that cannot be understood is an empty table.
  bool contains(std::string_view table);

  /// The text under `key`. Without one it is `value`, and without that the key itself. An empty
  /// table name stands for `defaultTable`.
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

/// What a text in the user's language depends on.
struct Localization {
  StringTables& tables;
  /// A table named "<table>-Polite" then takes the place of a table where the bundle has one.
  bool shouldUIUsePoliteForms;
};

}  // namespace qrt
