#include "platform/ExtendedAttributes.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "platform/macos/MacosFacilities.h"
#include "platform/posix/AttributeCalls.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// Values are read and written whole. Only a resource fork knows another position.
constexpr std::uint32_t atBeginning = 0;

int optionsFor(Compression compression) {
  return compression == Compression::exposed ? XATTR_SHOWCOMPRESSION : 0;
}

/// Names are the file system's own. Sockets and devices have no attributes here.
class MacosExtendedAttributes final : public ExtendedAttributes {
 public:
  PosixResult<std::vector<std::string>> names(const HeldObject& object,
                                              Compression compression) override {
    if (!object.name().empty()) return PosixCode::notSupported;
    const auto list = delivered<std::string>([&](char* bytes, std::size_t size) {
      return ::flistxattr(object.descriptor(), bytes, size, optionsFor(compression));
    });
    if (!list) return list.error();

    std::vector<std::string> names;
    for (std::string_view rest = *list; !rest.empty();) {
      const auto name = rest.substr(0, rest.find('\0'));
      names.emplace_back(name);
      rest.remove_prefix(std::min(rest.size(), name.size() + 1));
    }
    return names;
  }

  PosixResult<Data> value(const HeldObject& object, const std::string& name) override {
    if (!isAttributeName(name)) return PosixCode::invalidArgument;
    if (!object.name().empty()) return PosixCode::notSupported;
    return delivered<Data>([&](std::uint8_t* bytes, std::size_t size) {
      return ::fgetxattr(object.descriptor(), name.c_str(), bytes, size, atBeginning, 0);
    });
  }

  PosixCode set(const HeldObject& object, const std::string& name, const Data& value) override {
    if (!isAttributeName(name)) return PosixCode::invalidArgument;
    if (!object.name().empty()) return PosixCode::notSupported;
    return codeFor(
        ::fsetxattr(object.descriptor(), name.c_str(), value.data(), value.size(), atBeginning, 0));
  }

  PosixCode remove(const HeldObject& object, const std::string& name,
                   Compression compression) override {
    if (!isAttributeName(name)) return PosixCode::invalidArgument;
    if (!object.name().empty()) return PosixCode::notSupported;
    return codeFor(::fremovexattr(object.descriptor(), name.c_str(), optionsFor(compression)));
  }
};

}  // namespace

std::unique_ptr<ExtendedAttributes> makeExtendedAttributes() {
  return std::make_unique<MacosExtendedAttributes>();
}

}  // namespace qrt
