#include "platform/SMCExchange.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/FileDescriptor.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

constexpr const char* placeFile = "key_at_index";

struct KeyInfo {
  std::uint32_t type;
  std::uint32_t size;
};

/// The files of the driver. One holds an index; four describe the key at that index.
class KeyFiles {
 public:
  explicit KeyFiles(int folder) : folder_(folder) {}

  /// What `read` returns of the key at an index; `invalidArgument` when the list has no such index.
  template <class T>
  PosixResult<T> at(std::uint32_t index, PosixResult<T> (KeyFiles::*read)() const) const {
    constexpr int attempts = 16;
    for (int attempt = 0; attempt < attempts; ++attempt) {
      if (const auto moved = moveTo(index); moved != PosixCode::success) return moved;
      auto answer = (this->*read)();
      const auto place = number(placeFile);
      if (!place) return place.error();
      if (*place == index) return answer;
    }
    return PosixCode::busy;
  }

  PosixResult<std::uint32_t> key() const { return code("key_at_index_name"); }

  PosixResult<KeyInfo> info() const {
    const auto type = code("key_at_index_type");
    if (!type) return type.error();
    const auto size = number("key_at_index_data_length");
    if (!size) return size.error();
    return KeyInfo{*type, *size};
  }

  PosixResult<Data> data() const { return contents("key_at_index_data"); }

  /// The index of a key. The list is sorted, and the kernel searches it in the same way.
  PosixResult<std::uint32_t> placeOf(std::uint32_t wanted) const {
    const auto count = number("key_count");
    if (!count) return count.error();
    std::uint32_t begin = 0;
    for (auto end = *count; begin < end;) {
      const auto middle = begin + (end - begin) / 2;
      const auto found = at(middle, &KeyFiles::key);
      if (!found) return found.error();
      if (*found == wanted) return middle;
      if (*found < wanted) {
        begin = middle + 1;
      } else {
        end = middle;
      }
    }
    return PosixCode::noEntry;
  }

 private:
  PosixResult<Data> contents(const char* name) const {
    constexpr std::size_t largest = 4096;
    return readFile(folder_, name, largest);
  }

  PosixResult<std::string> line(const char* name) const {
    const auto bytes = contents(name);
    if (!bytes) return bytes.error();
    return std::string(bytes->begin(), std::find(bytes->begin(), bytes->end(), '\n'));
  }

  PosixResult<std::uint32_t> number(const char* name) const {
    const auto digits = line(name);
    if (!digits) return digits.error();
    std::uint32_t value = 0;
    const auto parsed = std::from_chars(digits->data(), digits->data() + digits->size(), value);
    if (parsed.ec != std::errc()) return PosixCode::inputOutput;
    return value;
  }

  /// The driver leaves out the NUL that a code may end in.
  PosixResult<std::uint32_t> code(const char* name) const {
    auto text = line(name);
    if (!text) return text.error();
    text->resize(sizeof(std::uint32_t));
    std::uint32_t value = 0;
    for (const char character : *text) value = value << 8 | static_cast<std::uint8_t>(character);
    return value;
  }

  PosixCode moveTo(std::uint32_t index) const {
    const FileDescriptor file(openat(folder_, placeFile, O_WRONLY | O_CLOEXEC));
    if (!file) return lastError();
    const auto text = std::to_string(index);
    const auto written = write(file.get(), text.data(), text.size());
    return written < 0 ? lastError() : PosixCode::success;
  }

  const int folder_;
};

/// The answer when the files give no key: that it does not exist, or why they cannot be read.
KernelReturn withoutKey(PosixCode reason, SMCParameterRecord& output) {
  switch (reason) {
    case PosixCode::noEntry:
    case PosixCode::invalidArgument:
      output.result = smc_result::keyNotFound;
      return KernelReturn::noError;
    case PosixCode::busy:
      return KernelReturn::busy;
    default:
      return KernelReturn::inputOutput;
  }
}

KernelReturn keyAtIndex(const KeyFiles& files, const SMCParameterRecord& input,
                        SMCParameterRecord& output) {
  const auto key = files.at(input.index, &KeyFiles::key);
  if (!key) return withoutKey(key.error(), output);
  output.key = *key;
  return KernelReturn::noError;
}

KernelReturn keyInfo(const KeyFiles& files, const SMCParameterRecord& input,
                     SMCParameterRecord& output) {
  const auto place = files.placeOf(input.key);
  if (!place) return withoutKey(place.error(), output);
  const auto info = files.at(*place, &KeyFiles::info);
  if (!info) return withoutKey(info.error(), output);
  output.dataType = info->type;
  output.dataSize = info->size;
  return KernelReturn::noError;
}

KernelReturn readKey(const KeyFiles& files, const SMCParameterRecord& input,
                     SMCParameterRecord& output) {
  const auto place = files.placeOf(input.key);
  if (!place) return withoutKey(place.error(), output);
  const auto data = files.at(*place, &KeyFiles::data);
  if (!data) {
    if (data.error() == PosixCode::busy) return KernelReturn::busy;
    output.result = smc_result::keyNotReadable;
    return KernelReturn::noError;
  }
  std::copy_n(data->begin(), std::min(data->size(), output.bytes.size()), output.bytes.begin());
  return KernelReturn::noError;
}

/// The System Management Controller through the kernel's applesmc driver, which shows one key at a
/// time: its index in the controller's list is written to one file, and others hold the name, type,
/// size and data of the key there. The driver cannot set a key, so writes are `notPrivileged`.
///
/// All programs share that index. Exchanges of this object take turns. When another program changed
/// the index meanwhile, the exchange starts again, 16 times at most; then it is `busy`.
class LinuxSMCExchange final : public SMCExchange {
 public:
  explicit LinuxSMCExchange(const std::string& root)
      : folder_(root + "/sys/devices/platform/applesmc.768") {}

  KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) override;

 private:
  const std::string folder_;
  std::mutex mutex_;
};

KernelReturn LinuxSMCExchange::callSMC(const SMCParameterRecord& input,
                                       SMCParameterRecord& output) {
  const FileDescriptor folder(open(folder_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return KernelReturn::error;
  const KeyFiles files(folder.get());
  const std::lock_guard lock(mutex_);
  switch (input.command) {
    case smc_command::keyAtIndex:
      return keyAtIndex(files, input, output);
    case smc_command::keyInfo:
      return keyInfo(files, input, output);
    case smc_command::readKey:
      return readKey(files, input, output);
    case smc_command::writeKey:
      return KernelReturn::notPrivileged;
    default:
      return KernelReturn::badArgument;
  }
}

}  // namespace

std::unique_ptr<SMCExchange> makeSMCExchange(const std::string& root) {
  return std::make_unique<LinuxSMCExchange>(root);
}

}  // namespace qrt
