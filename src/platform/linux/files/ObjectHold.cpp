#include "platform/linux/files/ObjectHold.h"

#include <fcntl.h>

#include <charconv>
#include <thread>

#include "base/Text.h"
#include "platform/linux/files/DescriptorPath.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

using std::chrono::milliseconds;

/// What the system gives the holder of a lease. Its own default when it does not say.
milliseconds leaseBreakTime() {
  constexpr std::size_t longestNumber = 32;
  std::chrono::seconds time{45};
  if (const auto text = readFile(AT_FDCWD, "/proc/sys/fs/lease-break-time", longestNumber)) {
    unsigned seconds = 0;
    const auto digits = asText(*text);
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
    if (parsed.ec == std::errc()) time = std::chrono::seconds(seconds);
  }
  return time;
}

}  // namespace

PosixResult<HeldObject> holdObject(FileAt object, Links links) {
  const int stay = links == Links::stay ? O_NOFOLLOW : 0;
  FileDescriptor descriptor(
      ::openat(object.folder.descriptor(), object.name, O_PATH | O_CLOEXEC | stay));
  if (!descriptor) return lastError();
  return HeldObject(std::move(descriptor));
}

PosixResult<FileDescriptor> openForReading(const HeldObject& object) {
  FileDescriptor opened(::open(descriptorPath(object.descriptor()).c_str(),
                               O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!opened) return lastError();
  return opened;
}

/// The kernel could wait itself, but it would wait the full time for each file. Its time runs from
/// the first attempt, so that it ends no later than this wait.
PosixResult<FileDescriptor> openForReading(const HeldObject& file, LeaseWait& leases) {
  using Clock = std::chrono::steady_clock;
  constexpr milliseconds pause{10};
  // The kernel counts in ticks, the longest of which take 10 ms, and begins with the next one.
  constexpr milliseconds ticks{50};
  auto opened = openForReading(file);
  const auto hasLease = [&] { return !opened && opened.error() == PosixCode::tryAgain; };
  if (!hasLease()) return opened;
  const auto limit = leaseBreakTime() + ticks;
  const auto begin = Clock::now();
  const auto before = leases.waited;
  while (hasLease() && leases.waited <= limit) {
    std::this_thread::sleep_for(pause);
    leases.waited = before + std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
    opened = openForReading(file);
  }
  return opened;
}

}  // namespace qrt
