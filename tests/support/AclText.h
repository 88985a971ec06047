// Access control lists as the usual tools show them.
#pragma once

#include <cstdio>
#include <string>

namespace qrt::test {

/// "user::rw-,user:77:rwx,...", a folder's default entries behind its own; "" without the tool.
inline std::string aclOf(const std::string& path) {
  FILE* const output = popen(("getfacl -nEcp '" + path + "' 2>/dev/null").c_str(), "r");
  std::string text;
  for (int c; output && (c = std::fgetc(output)) != EOF;) text += c == '\n' ? ',' : char(c);
  if (output) pclose(output);
  while (text.ends_with(',')) text.pop_back();
  return text;
}

}  // namespace qrt::test
