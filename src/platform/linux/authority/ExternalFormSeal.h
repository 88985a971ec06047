// Makes and checks the external form of an authorization.
#pragma once

#include <array>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/Authority.h"
#include "platform/linux/authority/PeerIdentity.h"
#include "platform/linux/files/StateFolder.h"

namespace qrt {

/// An external form names one process and proves that this daemon wrote it: version (1 byte),
/// user (4), process (4), low 56 bits of the start time (7), all little endian, and a keyed
/// 16-byte hash of these. The key is mixed of a secret, which is made once and never leaves the
/// state folder, and the identifier of the system's boot: processes and their start times repeat
/// after a restart, forms must not. Thread-safe.
class ExternalFormSeal {
 public:
  /// `bootIdentifier` is the path of the kernel's file.
  ExternalFormSeal(StateFolder& state, std::string bootIdentifier)
      : state_(state), bootIdentifier_(std::move(bootIdentifier)) {}

  /// None when the secret can be neither read nor made, or the boot is not known.
  std::optional<AuthorizationExternalForm> seal(const PeerIdentity& identity);
  /// None for a form that this key did not seal.
  std::optional<PeerIdentity> open(const AuthorizationExternalForm& form);

 private:
  static constexpr std::size_t keyLength = 32;
  using Key = std::array<std::uint8_t, keyLength>;

  const Key* key();
  std::optional<Key> loadOrMakeSecret();
  std::optional<Key> mixKey();

  StateFolder& state_;
  const std::string bootIdentifier_;
  std::mutex mutex_;
  std::optional<Key> key_;
};

}  // namespace qrt
