#include "platform/ProcessTable.h"

#include <signal.h>
#include <sys/param.h>
#include <sys/proc.h>
#include <sys/sysctl.h>

#include "platform/macos/MacosFacilities.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// Reads the process table with `sysctl`.
class MacosProcessTable : public ProcessTable {
 public:
  /// Also no value when more processes start meanwhile than the spare room is for.
  std::optional<std::vector<ProcessRecord>> processes() override {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
    std::size_t bytes = 0;
    // The kernel adds some spare room to the size.
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

  std::size_t keptNameLength() const override { return MAXCOMLEN; }

  PosixCode sendSignal(std::int32_t process, std::int32_t signal) override {
    return codeFor(kill(process, signal));
  }
};

}  // namespace

std::unique_ptr<ProcessTable> makeProcessTable() { return std::make_unique<MacosProcessTable>(); }

}  // namespace qrt
