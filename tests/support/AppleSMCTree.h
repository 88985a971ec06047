// The files of the kernel's SMC driver, served from a table.
#pragma once

#include <linux/fuse.h>
#include <sched.h>
#include <sys/mount.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <thread>

#include "support/ModelSMC.h"
#include "support/ScratchFolder.h"

namespace qrt::test {

/// A file system of its own in a mount namespace that ends with the process: what a file holds
/// depends on the place that was last written, as it does with the driver. `isMounted()` is false
/// where such file systems cannot be had.
class AppleSMCTree {
 public:
  AppleSMCTree() {
    if (!run({"mkdir", "-p", folder_})) return;
    device_ = open("/dev/fuse", O_RDWR | O_CLOEXEC);
    const bool own =
        unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    const auto options = "fd=" + std::to_string(device_) + ",rootmode=40000,user_id=0,group_id=0";
    isMounted_ = own && mount("applesmc", folder_.c_str(), "fuse", MS_NOSUID | MS_NODEV,
                              options.c_str()) == 0;
    if (isMounted_) server_ = std::thread([this] { serve(); });
  }
  AppleSMCTree(const AppleSMCTree&) = delete;
  AppleSMCTree& operator=(const AppleSMCTree&) = delete;
  ~AppleSMCTree() {
    if (isMounted_) umount2(folder_.c_str(), 0);
    if (server_.joinable()) server_.join();
    close(device_);
  }

  bool isMounted() const { return isMounted_; }
  const std::string& root() const { return root_.path(); }

 private:
  static constexpr std::string_view files[] = {"key_count",         "key_at_index",
                                               "key_at_index_name", "key_at_index_type",
                                               "key_at_index_data", "key_at_index_data_length"};
  static constexpr std::uint64_t firstFile = FUSE_ROOT_ID + 1;

  static std::string lineOf(SMCCode code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text.push_back(static_cast<char>(code >> shift));
    return text + "\n";
  }

  /// None for what cannot be read.
  std::optional<std::string> contentsOf(std::string_view name) const {
    if (name == "key_count") return std::to_string(keys_.size()) + "\n";
    if (name == "key_at_index") return std::to_string(place_) + "\n";
    const auto& key = keys_.at(place_);
    if (name == "key_at_index_name") return lineOf(key.key);
    if (name == "key_at_index_type") return lineOf(key.type);
    if (name == "key_at_index_data_length") return std::to_string(key.bytes.size()) + "\n";
    if (key.isWriteOnly) return std::nullopt;
    return std::string(key.bytes.begin(), key.bytes.end());
  }

  static fuse_attr attributesOf(std::uint64_t node) {
    fuse_attr attributes{};
    attributes.ino = node;
    attributes.mode = node == FUSE_ROOT_ID ? S_IFDIR | 0755 : S_IFREG | 0644;
    attributes.size = 4096;
    attributes.nlink = 1;
    return attributes;
  }

  void answer(std::uint64_t request, int error, std::string_view body = {}) const {
    fuse_out_header header{};
    header.len = static_cast<std::uint32_t>(sizeof header + body.size());
    header.error = -error;
    header.unique = request;
    const auto message = std::string(bytesOf(header)).append(body);
    if (write(device_, message.data(), message.size()) < 0) return;  // The asker has gone.
  }
  template <class T>
  static std::string_view bytesOf(const T& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
  }

  void serve() {
    alignas(fuse_in_header) static thread_local char buffer[FUSE_MIN_READ_BUFFER + 65536];
    while (read(device_, buffer, sizeof buffer) > 0) {
      const auto& header = *reinterpret_cast<const fuse_in_header*>(buffer);
      handle(header, buffer + sizeof header);
    }
  }

  void handle(const fuse_in_header& header, const char* body) {
    const auto request = header.unique;
    switch (header.opcode) {
      case FUSE_INIT: {
        fuse_init_out out{};
        out.major = FUSE_KERNEL_VERSION;
        out.minor = FUSE_KERNEL_MINOR_VERSION;
        out.max_write = 4096;
        return answer(request, 0, bytesOf(out));
      }
      case FUSE_GETATTR: {
        fuse_attr_out out{};
        out.attr = attributesOf(header.nodeid);
        return answer(request, 0, bytesOf(out));
      }
      case FUSE_LOOKUP: {
        const auto* file = std::find(std::begin(files), std::end(files), std::string_view(body));
        if (file == std::end(files)) return answer(request, ENOENT);
        fuse_entry_out out{};
        out.nodeid = firstFile + static_cast<std::uint64_t>(file - files);
        out.attr = attributesOf(out.nodeid);
        return answer(request, 0, bytesOf(out));
      }
      case FUSE_OPEN: {
        fuse_open_out out{};
        out.open_flags = FOPEN_DIRECT_IO;
        return answer(request, 0, bytesOf(out));
      }
      case FUSE_READ: {
        if (reinterpret_cast<const fuse_read_in*>(body)->offset > 0) return answer(request, 0);
        const auto contents = contentsOf(files[header.nodeid - firstFile]);
        return answer(request, contents ? 0 : EIO, contents.value_or(""));
      }
      case FUSE_WRITE: {
        const auto& in = *reinterpret_cast<const fuse_write_in*>(body);
        place_ = std::stoul(std::string(body + sizeof in, in.size));
        fuse_write_out out{};
        out.size = in.size;
        return answer(request, 0, bytesOf(out));
      }
      case FUSE_FORGET:
      case FUSE_BATCH_FORGET:
        return;
      default:
        return answer(request, ENOSYS);
    }
  }

  const ScratchFolder root_;
  const std::string folder_ = root_.path("sys/devices/platform/applesmc.768");
  const std::vector<ModelKey> keys_ = modelKeys();
  std::size_t place_ = 0;
  int device_ = -1;
  bool isMounted_ = false;
  std::thread server_;
};

}  // namespace qrt::test
