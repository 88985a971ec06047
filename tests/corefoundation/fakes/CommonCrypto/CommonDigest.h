#pragma once

#include <openssl/sha.h>

using CC_LONG = unsigned;
constexpr int CC_SHA1_DIGEST_LENGTH = SHA_DIGEST_LENGTH;
inline void CC_SHA1(const void* bytes, CC_LONG size, unsigned char* digest) {
  SHA1(static_cast<const unsigned char*>(bytes), size, digest);
}
