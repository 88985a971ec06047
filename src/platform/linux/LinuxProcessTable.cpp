#include "platform/ProcessTable.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>

#include <cerrno>
#include <charconv>
#include <memory>
#include <string>

#include "platform/FileDescriptor.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/ProcessFiles.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

std::string textOf(int folder, const char* name) {
  constexpr std::size_t maximumBytes = 64 << 10;
  const auto contents = readFile(folder, name, maximumBytes);
  return contents ? std::string(contents->begin(), contents->end()) : std::string();
}

/// The process identifier that a folder of /proc has as its name; nothing for other folders.
std::optional<std::int32_t> identifierNamed(std::string_view name) {
  std::int32_t identifier = 0;
  const auto end = name.data() + name.size();
  const auto parsed = std::from_chars(name.data(), end, identifier);
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  return identifier;
}

std::optional<ProcessRecord> recordOf(int processes, const char* name) {
  const auto identifier = identifierNamed(name);
  if (!identifier) return std::nullopt;
  // The open folder belongs to one process, even when its number is used again.
  const FileDescriptor process(openat(processes, name, O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!process) return std::nullopt;
  const auto stat = textOf(process.get(), "stat");
  const auto command = commandNameInStat(stat);
  const auto user = effectiveUserInStatus(textOf(process.get(), "status"));
  if (!command || !user) return std::nullopt;
  return ProcessRecord{*identifier, std::string(*command), *user, isZombieInStat(stat)};
}

/// Reads "/proc", which lists processes and not their threads. Processes that end meanwhile are
/// left out.
class LinuxProcessTable : public ProcessTable {
 public:
  explicit LinuxProcessTable(const std::string& root) : folder_(root + "/proc") {}

  std::optional<std::vector<ProcessRecord>> processes() override;
  std::size_t keptNameLength() const override { return 15; }
  PosixCode sendSignal(std::int32_t process, std::int32_t signal) override;

 private:
  const std::string folder_;
};

std::optional<std::vector<ProcessRecord>> LinuxProcessTable::processes() {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(folder_.c_str()));
  if (!folder) return std::nullopt;
  std::vector<ProcessRecord> records;
  for (;;) {
    errno = 0;
    const auto* entry = readdir(folder.get());
    if (!entry) break;
    if (auto record = recordOf(dirfd(folder.get()), entry->d_name)) {
      records.push_back(std::move(*record));
    }
  }
  if (errno != 0) return std::nullopt;
  return records;
}

PosixCode LinuxProcessTable::sendSignal(std::int32_t process, std::int32_t signal) {
  return codeFor(kill(process, signal));
}

}  // namespace

std::unique_ptr<ProcessTable> makeProcessTable(const std::string& root) {
  return std::make_unique<LinuxProcessTable>(root);
}

}  // namespace qrt
