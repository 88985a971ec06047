// What became of the paths of a command, as the one error that a presenter shows.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "client/cli/paths/PathRequests.h"

namespace qrt {

/// A command with one path: its own outcome. With several: success when all were done, else an
/// error with a sentence ("2 of 3 deleted; not deleted: nope (No such file or directory)"), the
/// numbers and the paths that failed. `words` are the paths as the user wrote them.
Outcome outcomeOf(const PathsResult& result, const Array& paths,
                  const std::vector<std::string>& words, std::string_view participle,
                  const std::function<Error(const Error&)>& localized);

}  // namespace qrt
