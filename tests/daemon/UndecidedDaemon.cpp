// The daemon, but that each of its dialogs waits for ever.
#include <unistd.h>

#include "daemon/DaemonWith.h"
#include "support/FakeAuthority.h"

namespace {

using namespace qrt;

class UndecidedAuthority : public test::FakeAuthority {
 public:
  Result<std::unique_ptr<Authorization>, AuthorizationStatus> createFromExternalForm(
      const Caller&, const AuthorizationExternalForm&, Log&) override {
    return std::unique_ptr<Authorization>(std::make_unique<Dialog>());
  }

 private:
  struct Dialog : Authorization {
    AuthorizationStatus copyRight(const std::string&, const AuthorizationEnvironment&,
                                  std::uint32_t) override {
      for (;;) pause();
    }
    void free(std::uint32_t) override {}
  };
};

}  // namespace

int main() {
  const NativePlatform native;
  UndecidedAuthority authority;
  test::runDaemon({.authority = &authority}, native.facilities());
}
