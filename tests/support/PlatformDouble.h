// A platform with some facilities replaced.
#pragma once

#include "platform/Platform.h"
#include "platform/SelfProcess.h"

namespace qrt::test {

struct FakeSelf : SelfProcess {
  /// Thrown instead of an end of the process.
  struct Exited {};
  std::uint32_t userID = 0;

  std::uint32_t realUserID() const override { return userID; }
  void prepareForService() override {}
  [[noreturn]] void exit(int) override { throw Exited(); }
};

/// The facilities that replace those of another platform; null keeps the other's.
struct Doubles {
  Log* log = nullptr;
  SelfProcess* self = nullptr;
  FileSystem* files = nullptr;
  JobControl* jobControl = nullptr;
  Preferences* preferences = nullptr;
  SystemConfiguration* systemConfiguration = nullptr;
  Authority* authority = nullptr;
  Transport* transport = nullptr;
  HelperConnector* helperConnector = nullptr;
  ApplicationRegistry* applications = nullptr;
  UserDirectory* users = nullptr;
  CodeSigning* codeSigning = nullptr;
};

/// Doubles and rest outlive it.
inline Platform platformWith(const Doubles& doubles, const Platform& rest) {
  const auto either = [](auto* facility, auto& other) -> auto& {
    return facility ? *facility : other;
  };
  return {.root = rest.root,
          .log = either(doubles.log, rest.log),
          .self = either(doubles.self, rest.self),
          .files = either(doubles.files, rest.files),
          .extendedAttributes = rest.extendedAttributes,
          .accessControl = rest.accessControl,
          .processes = rest.processes,
          .users = either(doubles.users, rest.users),
          .kernelSettings = rest.kernelSettings,
          .jobControl = either(doubles.jobControl, rest.jobControl),
          .preferences = either(doubles.preferences, rest.preferences),
          .systemConfiguration = either(doubles.systemConfiguration, rest.systemConfiguration),
          .authority = either(doubles.authority, rest.authority),
          .transport = either(doubles.transport, rest.transport),
          .helperConnector = either(doubles.helperConnector, rest.helperConnector),
          .smc = rest.smc,
          .nvram = rest.nvram,
          .applications = either(doubles.applications, rest.applications),
          .codeSigning = either(doubles.codeSigning, rest.codeSigning),
          .volumes = rest.volumes,
          .workers = rest.workers,
          .stop = rest.stop};
}

}  // namespace qrt::test
