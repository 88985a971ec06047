// Authorizations in external form. The first bytes say whom a form is made for, the next how it is
// forged; the rest is taken for a form as it is.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/linux/authority/ExternalFormSeal.h"

namespace {

/// A seal with a key of its own, which the input cannot know.
qrt::ExternalFormSeal& seal() {
  static char folder[] = "/tmp/qrt-fuzz-XXXXXX";
  static qrt::StateFolder state(mkdtemp(folder));
  static qrt::ExternalFormSeal made(state, "/proc/sys/kernel/random/boot_id");
  static const int atExit = std::atexit([] {
    unlink((std::string(folder) + "/authorization.key").c_str());
    unlink((std::string(folder) + "/.lock").c_str());
    rmdir(folder);
  });
  static_cast<void>(atExit);
  return made;
}

struct Input {
  std::uint32_t user;
  std::int32_t process;
  std::uint64_t startTime;
  std::uint8_t position, change;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Input input{};
  if (size < sizeof input) return 0;
  std::memcpy(&input, bytes, sizeof input);
  constexpr std::uint64_t keptBits = (std::uint64_t{1} << 56) - 1;
  const qrt::PeerIdentity identity{input.user, input.process, input.startTime & keptBits};
  auto form = seal().seal(identity);
  if (!form || seal().open(*form) != identity) std::abort();

  (*form)[input.position % form->size()] ^= input.change;
  if (input.change != 0 && seal().open(*form)) std::abort();

  qrt::AuthorizationExternalForm strangers{};
  std::memcpy(strangers.data(), bytes, std::min(size, strangers.size()));
  if (seal().open(strangers)) std::abort();
  return 0;
}
