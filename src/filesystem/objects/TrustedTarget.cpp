#include "filesystem/objects/TrustedTarget.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qrt {
namespace {

constexpr std::uint32_t root = 0;

/// More are a loop, as for the system itself.
constexpr unsigned maximumLinks = 40;

/// The components of a link's text, the first one last. After a slash at the end, and for a text of
/// slashes and dots alone, only a folder is meant: there the last component is ".".
std::vector<std::string> componentsOf(std::string_view text) {
  std::vector<std::string> components;
  for (bool isLast = true; !text.empty(); isLast = false) {
    const auto slash = text.rfind('/');
    const auto start = slash == std::string_view::npos ? 0 : slash + 1;
    auto name = text.substr(start);
    if (name.empty()) name = ".";
    if (name != "." || isLast) components.emplace_back(name);
    text = text.substr(0, start == 0 ? 0 : slash);
  }
  return components;
}

class Resolution {
 public:
  Resolution(FileSystem& files, FileAt link)
      : files_(files), base_(&link.folder), rest_{link.name} {}

  PosixResult<std::optional<HeldObject>> run() {
    while (!rest_.empty()) {
      const auto name = std::move(rest_.back());
      rest_.pop_back();
      const auto code = pass(name.c_str());
      if (code != PosixCode::success) return code;
    }
    return std::move(target_);
  }

 private:
  bool isTrusted(const FileStatus& target) const {
    if (links_ == 0) return true;
    return target.device == device_ && !hasSeveralOwners_ &&
           (owner_ == root || owner_ == target.userID);
  }

  PosixCode pass(const char* name) {
    {
      auto held = files_.hold({*base_, name}, Links::stay);
      if (!held) return held.error();
      const auto status = held->status();
      if (!status) return status.error();
      if (status->isLink()) return follow(*held, *status);
      if (rest_.empty()) {
        if (isTrusted(*status)) target_.emplace(std::move(*held));
        return PosixCode::success;
      }
    }
    return enter(name);
  }

  PosixCode follow(const HeldObject& link, const FileStatus& status) {
    if (++links_ > maximumLinks) return PosixCode::tooManyLinks;
    if (links_ == 1) device_ = status.device;
    hasSeveralOwners_ |= owner_ != root && status.userID != root && status.userID != owner_;
    if (status.userID != root) owner_ = status.userID;

    const auto text = files_.linkTarget(link);
    if (!text) return text.error();
    auto components = componentsOf(*text);
    rest_.insert(rest_.end(), std::make_move_iterator(components.begin()),
                 std::make_move_iterator(components.end()));
    if (text->starts_with('/')) {
      rest_.emplace_back("/");
      base_ = &Folder::ofProcess();
      folder_.reset();
    }
    return PosixCode::success;
  }

  PosixCode enter(const char* name) {
    auto folder = files_.openFolder({*base_, name}, Links::stay);
    if (!folder) return folder.error();
    folder_.emplace(std::move(*folder));
    base_ = &*folder_;
    return PosixCode::success;
  }

  FileSystem& files_;
  /// The folder that the next component is in.
  const Folder* base_;
  std::optional<Folder> folder_;
  /// The remaining components, the next one last.
  std::vector<std::string> rest_;
  std::optional<HeldObject> target_;

  /// Of the links so far: their number, the file system of the first, and who else than root they
  /// belong to.
  unsigned links_ = 0;
  std::uint64_t device_ = 0;
  std::uint32_t owner_ = root;
  bool hasSeveralOwners_ = false;
};

bool leadsNowhere(PosixCode code) {
  return code == PosixCode::noEntry || code == PosixCode::notDirectory ||
         code == PosixCode::tooManyLinks || code == PosixCode::nameTooLong;
}

}  // namespace

PosixResult<std::optional<HeldObject>> holdTrustedTarget(FileSystem& files, FileAt link) {
  auto target = Resolution(files, link).run();
  if (!target && leadsNowhere(target.error())) return std::optional<HeldObject>();
  return target;
}

}  // namespace qrt
