// Access control lists as the usual tools show them.
#pragma once

#include <algorithm>

#include "support/ScratchFolder.h"

namespace qrt::test {

/// "user::rw-,user:77:rwx,...", a folder's default entries after its own; "" without the tool.
inline std::string aclOf(const std::string& path) {
  auto text = printed("getfacl -nEcp '" + path + "' 2>/dev/null");
  std::replace(text.begin(), text.end(), '\n', ',');
  return text.substr(0, text.find_last_not_of(',') + 1);
}

}  // namespace qrt::test
