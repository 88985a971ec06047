// Prints the version of the helper; with two paths it asks the helper to uninstall itself.
//   requestor [EXECUTABLE JOB]
#include <privilegerequestor/PrivilegeRequestor.h>

#include <iostream>

int main(int count, char** words) {
  auto requestor = qrt::PrivilegeRequestor::connect();
  if (!requestor) return 1;
  if (count < 3) {
    const auto version = requestor->version();
    std::cout << (version ? *version : "unknown") << "\n";
    return version ? 0 : 1;
  }
  const auto failure = requestor->performUninstall({.executable = words[1], .job = words[2]});
  if (failure) std::cerr << qrt::messageOf(*failure) << "\n";
  return failure ? 1 : 0;
}
