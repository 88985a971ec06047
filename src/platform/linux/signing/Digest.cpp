#include "platform/linux/signing/Digest.h"

#include <openssl/evp.h>

namespace qrt {
namespace {

const EVP_MD* algorithm(DigestKind kind) {
  switch (kind) {
    case DigestKind::sha1:
      return EVP_sha1();
    case DigestKind::sha256:
    case DigestKind::sha256Truncated:
      return EVP_sha256();
    case DigestKind::sha384:
      return EVP_sha384();
  }
  return nullptr;
}

}  // namespace

std::size_t digestSize(DigestKind kind) {
  const auto* digest = algorithm(kind);
  if (!digest) return 0;
  return static_cast<std::size_t>(
      EVP_MD_get_size(kind == DigestKind::sha256Truncated ? EVP_sha1() : digest));
}

void Digest::ContextDeleter::operator()(evp_md_ctx_st* context) const { EVP_MD_CTX_free(context); }

Digest::Digest(DigestKind kind)
    : kind_(kind),
      context_(EVP_MD_CTX_new()),
      works_(context_ && EVP_DigestInit_ex(context_.get(), algorithm(kind), nullptr) == 1) {}

void Digest::add(Bytes bytes) {
  works_ = works_ && EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1;
}

Data Digest::finish() {
  Data digest(EVP_MAX_MD_SIZE);
  const bool isDone = works_ && EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr) == 1;
  works_ = false;
  digest.resize(isDone ? digestSize(kind_) : 0);
  return digest;
}

Data digestOf(DigestKind kind, Bytes bytes) {
  Digest digest(kind);
  digest.add(bytes);
  return digest.finish();
}

}  // namespace qrt
