// Kernel settings that are made at every start of the system.
#pragma once

#include <string>

#include "base/PosixCode.h"

namespace qrt {

/// A file below "/etc/sysctl.d". What others wrote into it stays.
class SysctlFile {
 public:
  SysctlFile(const std::string& root, const std::string& name)
      : folder_(root + "/etc/sysctl.d"), name_(name) {}

  /// `variable` in slash form, as in "net/ipv6/conf/eth0.1/disable_ipv6". A character that has a
  /// meaning in such files is `invalidArgument`. Not for two threads at a time.
  PosixCode set(const std::string& variable, const std::string& value);

 private:
  const std::string folder_;
  const std::string name_;
};

}  // namespace qrt
