#include "platform/Nvram.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "base/Text.h"
#include "base/Utf8.h"
#include "platform/FileDescriptor.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

constexpr std::string_view vendor = "7c436110-ab2a-4bbb-a880-fe41995c9f82";
constexpr std::size_t largestVariable = 1 << 20;

/// A file holds these and then the value.
using Attributes = std::array<std::uint8_t, 4>;
/// Kept without power, and there before and after the system has started.
constexpr Attributes attributesOfNewVariables{7, 0, 0, 0};

KernelReturn kernelReturn(PosixCode code) {
  switch (code) {
    case PosixCode::notPermitted:
    case PosixCode::permissionDenied:
      return KernelReturn::notPrivileged;
    case PosixCode::noSpace:
      return KernelReturn::noSpace;
    default:
      return KernelReturn::error;
  }
}

/// The system makes nearly all variables immutable, against accidents. Clears that flag of an open
/// file, and sets it again at the end.
class WriteProtectionLifted {
 public:
  explicit WriteProtectionLifted(const FileDescriptor& file) : file_(file) {
    if (ioctl(file_.get(), FS_IOC_GETFLAGS, &flags_) != 0) return;
    if ((flags_ & FS_IMMUTABLE_FL) == 0) return;
    const auto without = flags_ & ~FS_IMMUTABLE_FL;
    isLifted_ = ioctl(file_.get(), FS_IOC_SETFLAGS, &without) == 0;
  }
  ~WriteProtectionLifted() {
    if (isLifted_) ioctl(file_.get(), FS_IOC_SETFLAGS, &flags_);
  }
  WriteProtectionLifted(const WriteProtectionLifted&) = delete;
  WriteProtectionLifted& operator=(const WriteProtectionLifted&) = delete;

 private:
  const FileDescriptor& file_;
  int flags_ = 0;
  bool isLifted_ = false;
};

/// Whether the bytes are a text without control characters.
bool isText(std::string_view bytes) {
  if (bytes.empty()) return false;
  while (!bytes.empty()) {
    const auto character = firstUtf8Character(bytes);
    const auto code = character.codePoint;
    const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
    if (character.length == 0 || isControl) return false;
    bytes.remove_prefix(character.length);
  }
  return true;
}

std::optional<std::string_view> bytesOf(const PropertyValue& value) {
  if (const auto* text = value.string()) return *text;
  const auto* data = value.data();
  if (!data) return std::nullopt;
  return asText(*data);
}

class VariableFolder final : public NvramOptions {
 public:
  explicit VariableFolder(FileDescriptor folder) : folder_(std::move(folder)) {}

  PosixResult<std::optional<PropertyValue>> value(const std::string& name) override {
    const std::optional<PropertyValue> noValue;
    const auto file = fileName(name);
    if (!file) return noValue;
    const auto contents = readFile(folder_.get(), file->c_str(), largestVariable);
    constexpr auto valueBegin = std::tuple_size_v<Attributes>;
    if (!contents || contents->size() < valueBegin) return noValue;
    Data bytes(contents->begin() + valueBegin, contents->end());
    const auto text = asText(bytes);
    return std::optional(isText(text) ? PropertyValue(text) : PropertyValue(std::move(bytes)));
  }

  KernelReturn set(const std::string& name, const PropertyValue& value) override {
    const auto file = fileName(name);
    const auto bytes = bytesOf(value);
    // A record of the attributes alone would remove the variable.
    if (!file || !bytes || bytes->empty()) return KernelReturn::badArgument;

    constexpr int common = O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor existing(openat(folder_.get(), file->c_str(), O_RDONLY | common));
    const bool isNew = !existing && errno == ENOENT;
    if (!existing && !isNew) return kernelReturn(lastError());
    auto attributes = attributesOfNewVariables;
    if (existing && pread(existing.get(), attributes.data(), attributes.size(), 0) !=
                        static_cast<ssize_t>(attributes.size())) {
      attributes = attributesOfNewVariables;
    }
    std::string record(attributes.begin(), attributes.end());
    record += *bytes;

    const WriteProtectionLifted lifted(existing);
    const FileDescriptor written(openat(folder_.get(), file->c_str(),
                                        O_WRONLY | common | (isNew ? O_CREAT | O_EXCL : 0), 0644));
    if (!written) return kernelReturn(lastError());
    // Each write sets the whole variable, so there must be exactly one.
    const auto count = write(written.get(), record.data(), record.size());
    if (count == static_cast<ssize_t>(record.size())) return KernelReturn::noError;
    const auto failure = count < 0 ? kernelReturn(lastError()) : KernelReturn::error;
    if (isNew) unlinkat(folder_.get(), file->c_str(), 0);
    return failure;
  }

 private:
  static std::optional<std::string> fileName(const std::string& name) {
    constexpr std::string_view impossible("/\0", 2);
    if (name.find_first_of(impossible) != std::string::npos) return std::nullopt;
    return name + "-" + std::string(vendor);
  }

  const FileDescriptor folder_;
};

/// The variables of one vendor in the kernel's file system of EFI variables.
class LinuxNvram final : public Nvram {
 public:
  explicit LinuxNvram(const std::string& root) : folder_(root + "/sys/firmware/efi/efivars") {}

  Result<std::unique_ptr<NvramOptions>, KernelReturn> options() override {
    FileDescriptor folder(open(folder_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
      return std::unique_ptr<NvramOptions>(std::make_unique<VariableFolder>(std::move(folder)));
    }
    const auto reason = lastError();
    if (reason == PosixCode::noEntry) return std::unique_ptr<NvramOptions>();
    return kernelReturn(reason);
  }

 private:
  const std::string folder_;
};

}  // namespace

std::unique_ptr<Nvram> makeNvram(const std::string& root) {
  return std::make_unique<LinuxNvram>(root);
}

}  // namespace qrt
