#include "platform/macos/MacosProcessTable.h"

#include <signal.h>
#include <sys/param.h>
#include <sys/proc.h>
#include <sys/sysctl.h>

#include "platform/posix/NativeError.h"

namespace qrt {

std::optional<std::vector<ProcessRecord>> MacosProcessTable::processes() {
  int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
  std::size_t bytes = 0;
  // The kernel answers with some room to spare.
  if (sysctl(name, std::size(name), nullptr, &bytes, nullptr, 0) != 0) return std::nullopt;
  std::vector<kinfo_proc> table(bytes / sizeof(kinfo_proc));
  bytes = table.size() * sizeof(kinfo_proc);
  if (sysctl(name, std::size(name), table.data(), &bytes, nullptr, 0) != 0) return std::nullopt;
  table.resize(bytes / sizeof(kinfo_proc));

  std::vector<ProcessRecord> records;
  for (const auto& process : table) {
    records.push_back({process.kp_proc.p_pid, process.kp_proc.p_comm,
                       process.kp_eproc.e_ucred.cr_uid, process.kp_proc.p_stat == SZOMB});
  }
  return records;
}

std::size_t MacosProcessTable::keptNameLength() const { return MAXCOMLEN; }

PosixCode MacosProcessTable::sendSignal(std::int32_t process, std::int32_t signal) {
  return codeFor(kill(process, signal));
}

}  // namespace qrt
