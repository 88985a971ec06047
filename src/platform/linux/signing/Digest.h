// Cryptographic digests.
#pragma once

#include <cstdint>
#include <memory>

#include "base/PropertyValue.h"
#include "platform/linux/signing/BoundedBytes.h"

struct evp_md_ctx_st;

namespace qrt {

/// The numbers are those that signatures call them by.
enum class DigestKind : std::uint8_t { sha1 = 1, sha256 = 2, sha256Truncated = 3, sha384 = 4 };

/// In bytes; 0 for what is no kind.
std::size_t digestSize(DigestKind kind);

/// A digest that could not be computed is empty: it equals none.
class Digest {
 public:
  explicit Digest(DigestKind kind);

  void add(Bytes bytes);

  /// Ends the computation. Truncated kinds are cut to their size.
  Data finish();

 private:
  struct ContextDeleter {
    void operator()(evp_md_ctx_st* context) const;
  };

  DigestKind kind_;
  std::unique_ptr<evp_md_ctx_st, ContextDeleter> context_;
  bool works_;
};

Data digestOf(DigestKind kind, Bytes bytes);

}  // namespace qrt
