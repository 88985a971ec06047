// What an operation is about to do, in words for a person.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "client/cli/commandline/ArgumentReader.h"
#include "client/cli/paths/ObjectCount.h"

namespace qrt {

/// Returns the text of a language for an English one.
using Translation = std::function<std::string(const std::string& english)>;

/// The action of an operation with its objects: "Delete /srv/old (8,042 objects, 1.2 GB) and 2 more
/// for good". Counts what this process can see, for two seconds at most and once; "at least" marks
/// a count that is not complete.
class ActionText {
 public:
  /// Refers to its arguments.
  ActionText(const OperationArguments& operation, const GivenWords& words,
             const WordContext& context)
      : operation_(operation), words_(words), context_(context) {}

  /// Empty for an operation without an action.
  std::string in(const Translation& language);

 private:
  struct Extent {
    /// In English.
    std::string_view form;
    ObjectCount count;
  };

  std::string textOf(std::string_view place, const Translation& language);
  std::string withExtent(const std::string& path, const Translation& language);
  Extent extentOf(const std::string& path) const;
  bool isDeep() const;

  const OperationArguments& operation_;
  const GivenWords& words_;
  const WordContext context_;
  /// Of the object whose place asks for it; there is at most one.
  std::optional<Extent> extent_;
};

}  // namespace qrt
