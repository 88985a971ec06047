#include "platform/linux/authority/ExternalFormSeal.h"

#include <fcntl.h>
#include <sodium.h>

#include <algorithm>

#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

constexpr std::uint8_t formVersion = 1;
constexpr const char* keyFile = "authorization.key";

struct Field {
  std::size_t offset, length;
};
constexpr Field userField{1, 4}, processField{5, 4}, startField{9, 7};
constexpr std::size_t sealedLength = 16;
constexpr std::uint64_t startTimeMask = (std::uint64_t{1} << 56) - 1;

void put(AuthorizationExternalForm& form, Field field, std::uint64_t value) {
  for (std::size_t i = 0; i < field.length; ++i) {
    form[field.offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

std::uint64_t get(const AuthorizationExternalForm& form, Field field) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < field.length; ++i) {
    value |= std::uint64_t{form[field.offset + i]} << (8 * i);
  }
  return value;
}

/// Fills the second half with the keyed hash of the first.
template <class Key>
void authenticate(AuthorizationExternalForm& form, const Key& key) {
  crypto_generichash(form.data() + sealedLength, form.size() - sealedLength, form.data(),
                     sealedLength, key.data(), key.size());
}

}  // namespace

std::optional<ExternalFormSeal::Key> ExternalFormSeal::loadOrMakeSecret() {
  if (sodium_init() < 0) return std::nullopt;
  const auto lock = state_.lock();
  if (!lock) return std::nullopt;
  Key key;
  const auto stored = state_.read(keyFile);
  if (stored && stored->size() == key.size()) {
    std::copy(stored->begin(), stored->end(), key.begin());
    return key;
  }
  if (!stored && stored.error() != PosixCode::noEntry) return std::nullopt;
  randombytes_buf(key.data(), key.size());
  if (state_.replace(keyFile, key) != PosixCode::success) return std::nullopt;
  return key;
}

std::optional<ExternalFormSeal::Key> ExternalFormSeal::mixKey() {
  constexpr std::size_t longestIdentifier = 64;
  const auto boot = readFile(AT_FDCWD, bootIdentifier_.c_str(), longestIdentifier);
  const auto secret = loadOrMakeSecret();
  if (!boot || boot->empty() || !secret) return std::nullopt;
  Key mixed;
  crypto_generichash(mixed.data(), mixed.size(), boot->data(), boot->size(), secret->data(),
                     secret->size());
  return mixed;
}

const ExternalFormSeal::Key* ExternalFormSeal::key() {
  const std::lock_guard guard(mutex_);
  if (!key_) key_ = mixKey();
  return key_ ? &*key_ : nullptr;
}

std::optional<AuthorizationExternalForm> ExternalFormSeal::seal(const PeerIdentity& identity) {
  const Key* sealingKey = key();
  if (!sealingKey) return std::nullopt;
  AuthorizationExternalForm form{};
  form[0] = formVersion;
  put(form, userField, identity.userID);
  put(form, processField, static_cast<std::uint32_t>(identity.processID));
  put(form, startField, identity.startTime & startTimeMask);
  authenticate(form, *sealingKey);
  return form;
}

std::optional<PeerIdentity> ExternalFormSeal::open(const AuthorizationExternalForm& form) {
  const Key* sealingKey = key();
  if (!sealingKey || form[0] != formVersion) return std::nullopt;
  AuthorizationExternalForm genuine = form;
  authenticate(genuine, *sealingKey);
  if (sodium_memcmp(genuine.data(), form.data(), form.size()) != 0) return std::nullopt;
  return PeerIdentity{static_cast<std::uint32_t>(get(form, userField)),
                      static_cast<std::int32_t>(get(form, processField)), get(form, startField)};
}

}  // namespace qrt
