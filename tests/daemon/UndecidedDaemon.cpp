// The daemon, but that each of its dialogs waits for ever.
#include <unistd.h>

#include "daemon/DaemonWith.h"
#include "support/FakeAuthority.h"

using namespace qrt;

struct Dialog : Authorization {
  AuthorizationStatus copyRight(const RequestedRight&, const AuthorizationEnvironment&,
                                std::uint32_t) override {
    for (;;) pause();
  }
  void free(std::uint32_t) override {}
};

struct UndecidedAuthority : test::FakeAuthority {
  Result<std::unique_ptr<Authorization>, AuthorizationStatus> createFromExternalForm(
      const Caller&, const AuthorizationExternalForm&, Log&) override {
    return std::unique_ptr<Authorization>(std::make_unique<Dialog>());
  }
};

int main() {
  const NativePlatform native;
  UndecidedAuthority authority;
  test::runDaemon({.authority = &authority}, native.facilities());
}
