// The daemon, but that it takes a test's root certificate for the maker's.
//
//   trusting_daemon FILE      FILE: holds the SHA-1 of the certificate
#include "daemon/DaemonWith.h"
#include "support/AppleRootDouble.h"
#include "support/PlantedFile.h"

int main(int, char** words) {
  using namespace qrt;
  const auto digest = test::contentsOf(words[1]);
  const NativePlatform native;
  test::AppleRootDouble signing(native.facilities().codeSigning, {digest.begin(), digest.end()});
  test::runDaemon({.codeSigning = &signing}, native.facilities());
}
