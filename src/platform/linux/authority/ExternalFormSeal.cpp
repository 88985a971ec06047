#include "platform/linux/authority/ExternalFormSeal.h"

#include <fcntl.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <memory>
#include <span>

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

using Bytes = std::span<const std::uint8_t>;

struct HashingDeleter {
  void operator()(EVP_MAC_CTX* hashing) const { EVP_MAC_CTX_free(hashing); }
};

/// Fills `hash` with a keyed hash of the text. Returns false when the library cannot compute it.
bool computeHash(Bytes key, Bytes text, std::span<std::uint8_t> hash) {
  // Looking the algorithm up takes as long as hashing.
  static EVP_MAC* const algorithm = EVP_MAC_fetch(nullptr, OSSL_MAC_NAME_BLAKE2BMAC, nullptr);
  auto size = hash.size();
  const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_size_t(OSSL_MAC_PARAM_SIZE, &size),
                                   OSSL_PARAM_construct_end()};
  const std::unique_ptr<EVP_MAC_CTX, HashingDeleter> hashing(algorithm ? EVP_MAC_CTX_new(algorithm)
                                                                       : nullptr);
  return hashing && EVP_MAC_init(hashing.get(), key.data(), key.size(), parameters) == 1 &&
         EVP_MAC_update(hashing.get(), text.data(), text.size()) == 1 &&
         EVP_MAC_final(hashing.get(), hash.data(), &size, hash.size()) == 1;
}

/// Fills the second half with the keyed hash of the first.
bool authenticate(AuthorizationExternalForm& form, Bytes key) {
  const std::span bytes(form);
  return computeHash(key, bytes.first(sealedLength), bytes.subspan(sealedLength));
}

}  // namespace

std::optional<ExternalFormSeal::Key> ExternalFormSeal::loadOrMakeSecret() {
  const auto lock = state_.lock();
  if (!lock) return std::nullopt;
  Key key;
  const auto stored = state_.read(keyFile);
  if (stored && stored->size() == key.size()) {
    std::copy(stored->begin(), stored->end(), key.begin());
    return key;
  }
  if (!stored && stored.error() != PosixCode::noEntry) return std::nullopt;
  if (RAND_priv_bytes(key.data(), static_cast<int>(key.size())) != 1) return std::nullopt;
  if (state_.replace(keyFile, key) != PosixCode::success) return std::nullopt;
  return key;
}

std::optional<ExternalFormSeal::Key> ExternalFormSeal::mixKey() {
  constexpr std::size_t longestIdentifier = 64;
  const auto boot = readFile(AT_FDCWD, bootIdentifier_.c_str(), longestIdentifier);
  const auto secret = loadOrMakeSecret();
  if (!boot || boot->empty() || !secret) return std::nullopt;
  Key mixed;
  return computeHash(*secret, *boot, mixed) ? std::optional(mixed) : std::nullopt;
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
  return authenticate(form, *sealingKey) ? std::optional(form) : std::nullopt;
}

std::optional<PeerIdentity> ExternalFormSeal::open(const AuthorizationExternalForm& form) {
  const Key* sealingKey = key();
  if (!sealingKey || form[0] != formVersion) return std::nullopt;
  AuthorizationExternalForm genuine = form;
  if (!authenticate(genuine, *sealingKey)) return std::nullopt;
  if (CRYPTO_memcmp(genuine.data(), form.data(), form.size()) != 0) return std::nullopt;
  return PeerIdentity{static_cast<std::uint32_t>(get(form, userField)),
                      static_cast<std::int32_t>(get(form, processField)), get(form, startField)};
}

}  // namespace qrt
