#include "platform/linux/signing/CmsSignature.h"

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace qrt {
namespace {

/// OpenSSL's objects with the function that frees them.
template <auto Free>
struct Freer {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};
template <class T, auto Free>
using Owned = std::unique_ptr<T, Freer<Free>>;

void freeStack(STACK_OF(X509) * certificates) { sk_X509_free(certificates); }
void freeStackAndCertificates(STACK_OF(X509) * certificates) {
  sk_X509_pop_free(certificates, X509_free);
}

/// Several times the length of a chain.
constexpr int mostCertificates = 32;
constexpr std::size_t largestMessage = 1 << 20;

/// An extension in the certificates of a store.
constexpr const char* storeExtension = "1.2.840.113635.100.6.1.9";

constexpr const char* directoryListAttribute = "1.2.840.113635.100.9.1";
constexpr const char* directoryDigestAttribute = "1.2.840.113635.100.9.2";

/// Removes the errors that OpenSSL queues meanwhile, so that no later caller takes them for its
/// own.
class ErrorScope {
 public:
  ErrorScope() { ERR_set_mark(); }
  ErrorScope(const ErrorScope&) = delete;
  ErrorScope& operator=(const ErrorScope&) = delete;
  ~ErrorScope() { ERR_pop_to_mark(); }
};

Data bytesOf(const ASN1_STRING* text) {
  const auto* bytes = ASN1_STRING_get0_data(text);
  return Data(bytes, bytes + ASN1_STRING_length(text));
}

std::optional<std::string> nameEntry(X509* certificate, int kind) {
  const auto* name = X509_get_subject_name(certificate);
  const int index = X509_NAME_get_index_by_NID(name, kind, -1);
  if (index < 0) return std::nullopt;
  unsigned char* utf8 = nullptr;
  const int size =
      ASN1_STRING_to_UTF8(&utf8, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
  if (size < 0) return std::nullopt;
  std::string text(reinterpret_cast<const char*>(utf8), static_cast<std::size_t>(size));
  OPENSSL_free(utf8);
  return text;
}

std::optional<SigningCertificate> described(X509* certificate) {
  SigningCertificate result{nameEntry(certificate, NID_commonName), {}};
  unsigned size = 0;
  const bool hasDigest = X509_digest(certificate, EVP_sha1(), result.digest.data(), &size) == 1;
  return hasDigest && size == result.digest.size() ? std::optional(result) : std::nullopt;
}

bool maySignCode(X509* certificate) {
  // Without the extension all bits are set, but no authority issues such certificates for code.
  const auto purposes = X509_get_extended_key_usage(certificate);
  return purposes != std::numeric_limits<std::uint32_t>::max() && (purposes & XKU_CODE_SIGN) != 0;
}

/// The organizational unit of a developer's certificate is the team.
std::optional<std::string> teamOf(X509* certificate) {
  const Owned<ASN1_OBJECT, ASN1_OBJECT_free> ofStore(OBJ_txt2obj(storeExtension, 1));
  if (X509_get_ext_by_OBJ(certificate, ofStore.get(), -1) >= 0) return std::nullopt;
  return nameEntry(certificate, NID_organizationalUnitName);
}

/// The chain from `signer` over the message's certificates to a self-signed one of them.
std::vector<SigningCertificate> verifiedChain(X509* signer, STACK_OF(X509) * certificates) {
  const Owned<X509_STORE, X509_STORE_free> anchors(X509_STORE_new());
  const Owned<X509_STORE_CTX, X509_STORE_CTX_free> context(X509_STORE_CTX_new());
  if (!anchors || !context) return {};
  for (int i = 0; i < sk_X509_num(certificates); ++i) {
    auto* certificate = sk_X509_value(certificates, i);
    const bool isAnchor = X509_self_signed(certificate, 1) == 1;
    if (isAnchor && X509_STORE_add_cert(anchors.get(), certificate) != 1) return {};
  }
  // Authorities mark their own extensions as critical, and older ones sign with SHA-1.
  X509_STORE_set_flags(anchors.get(), X509_V_FLAG_NO_CHECK_TIME | X509_V_FLAG_IGNORE_CRITICAL |
                                          X509_V_FLAG_CHECK_SS_SIGNATURE);
  if (X509_STORE_CTX_init(context.get(), anchors.get(), signer, certificates) != 1) return {};
  X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context.get()), 0);
  if (X509_verify_cert(context.get()) != 1) return {};

  std::vector<SigningCertificate> chain;
  auto* verified = X509_STORE_CTX_get0_chain(context.get());
  for (int i = 0; i < sk_X509_num(verified); ++i) {
    auto certificate = described(sk_X509_value(verified, i));
    if (!certificate) return {};
    chain.push_back(std::move(*certificate));
  }
  return chain;
}

std::optional<DigestKind> digestKind(const ASN1_OBJECT* algorithm) {
  switch (OBJ_obj2nid(algorithm)) {
    case NID_sha1:
      return DigestKind::sha1;
    case NID_sha256:
      return DigestKind::sha256;
    case NID_sha384:
      return DigestKind::sha384;
    default:
      return std::nullopt;
  }
}

/// The value is a pair of a hash's kind and the hash. Returns false for any other value and for an
/// unknown kind, whose directory would be unknown as well.
bool addDirectoryDigest(const ASN1_TYPE* value, CmsSigner& signer) {
  if (ASN1_TYPE_get(value) != V_ASN1_SEQUENCE) return false;
  const auto* bytes = ASN1_STRING_get0_data(value->value.sequence);
  const Owned<ASN1_SEQUENCE_ANY,
              [](ASN1_SEQUENCE_ANY* parts) { sk_ASN1_TYPE_pop_free(parts, ASN1_TYPE_free); }>
      parts(d2i_ASN1_SEQUENCE_ANY(nullptr, &bytes, ASN1_STRING_length(value->value.sequence)));
  if (!parts || sk_ASN1_TYPE_num(parts.get()) != 2) return false;
  const auto* algorithm = sk_ASN1_TYPE_value(parts.get(), 0);
  const auto* digest = sk_ASN1_TYPE_value(parts.get(), 1);
  const bool isPair =
      ASN1_TYPE_get(algorithm) == V_ASN1_OBJECT && ASN1_TYPE_get(digest) == V_ASN1_OCTET_STRING;
  const auto kind = isPair ? digestKind(algorithm->value.object) : std::nullopt;
  if (kind) signer.directoryDigests.push_back({*kind, bytesOf(digest->value.octet_string)});
  return kind.has_value();
}

bool addDirectoryList(const ASN1_TYPE* value, CmsSigner& signer) {
  if (ASN1_TYPE_get(value) != V_ASN1_OCTET_STRING || !signer.directoryList.empty()) return false;
  signer.directoryList = bytesOf(value->value.octet_string);
  return true;
}

/// Reads the signer's lists of code directories. Returns false when one is malformed.
bool readAttributes(CMS_SignerInfo* info, CmsSigner& signer) {
  for (int i = 0; i < CMS_signed_get_attr_count(info); ++i) {
    auto* attribute = CMS_signed_get_attr(info, i);
    char name[64];
    OBJ_obj2txt(name, sizeof name, X509_ATTRIBUTE_get0_object(attribute), 1);
    const std::string_view type = name;
    const auto add = type == directoryListAttribute     ? addDirectoryList
                     : type == directoryDigestAttribute ? addDirectoryDigest
                                                        : nullptr;
    for (int j = 0; add && j < X509_ATTRIBUTE_count(attribute); ++j) {
      if (!add(X509_ATTRIBUTE_get0_type(attribute, j), signer)) return false;
    }
  }
  return true;
}

Owned<CMS_ContentInfo, CMS_ContentInfo_free> parsed(Bytes message) {
  if (message.size() > largestMessage) return nullptr;
  const auto* next = message.data();
  Owned<CMS_ContentInfo, CMS_ContentInfo_free> cms(
      d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(message.size())));
  const bool isDetachedSignature = cms &&
                                   OBJ_obj2nid(CMS_get0_type(cms.get())) == NID_pkcs7_signed &&
                                   CMS_is_detached(cms.get()) == 1;
  if (!isDetachedSignature) return nullptr;
  return cms;
}

}  // namespace

std::optional<CmsSigner> verifiedCmsSigner(Bytes message, Bytes content) {
  const ErrorScope errors;
  const auto cms = parsed(message);
  if (!cms) return std::nullopt;
  auto* infos = CMS_get0_SignerInfos(cms.get());
  const Owned<STACK_OF(X509), freeStackAndCertificates> certificates(CMS_get1_certs(cms.get()));
  if (sk_CMS_SignerInfo_num(infos) != 1 || sk_X509_num(certificates.get()) > mostCertificates) {
    return std::nullopt;
  }
  Owned<BIO, BIO_free_all> memory(
      BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
  // CMS_verify copies plain memory and leaks the copy on an error, so it gets a filter.
  const Owned<BIO, BIO_free_all> signedBytes(BIO_new(BIO_f_null()));
  // A filter without memory would read as an empty content.
  if (!memory || !signedBytes) return std::nullopt;
  BIO_push(signedBytes.get(), memory.release());
  const bool isIntact = CMS_verify(cms.get(), nullptr, nullptr, signedBytes.get(), nullptr,
                                   CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) == 1;
  if (!isIntact) return std::nullopt;

  const Owned<STACK_OF(X509), freeStack> signers(CMS_get0_signers(cms.get()));
  if (sk_X509_num(signers.get()) != 1) return std::nullopt;
  auto* signerCertificate = sk_X509_value(signers.get(), 0);
  CmsSigner signer;
  signer.certificates = verifiedChain(signerCertificate, certificates.get());
  signer.team = teamOf(signerCertificate);
  const bool isGood = !signer.certificates.empty() && maySignCode(signerCertificate) &&
                      readAttributes(sk_CMS_SignerInfo_value(infos, 0), signer);
  return isGood ? std::optional(std::move(signer)) : std::nullopt;
}

}  // namespace qrt
