#include "support/SigningChain.h"

#include <openssl/cms.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace qrt::test {
namespace {

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

struct KeyPair {
  EVP_PKEY* key = EVP_EC_gen("P-256");
  X509* certificate = X509_new();

  KeyPair() = default;
  KeyPair(const KeyPair&) = delete;
  KeyPair& operator=(const KeyPair&) = delete;
  ~KeyPair() {
    X509_free(certificate);
    EVP_PKEY_free(key);
  }
};

void addName(X509* certificate, const char* field, const std::string& text) {
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), field, MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(text.data()),
                             static_cast<int>(text.size()), -1, 0);
}

void addExtension(X509* certificate, const char* name, const char* value) {
  auto* extension = X509V3_EXT_conf(nullptr, nullptr, name, value);
  require(extension && X509_add_ext(certificate, extension, -1) == 1, "extension");
  X509_EXTENSION_free(extension);
}

void issue(KeyPair& subject, const KeyPair& issuer, bool isExpired) {
  constexpr long day = 24 * 60 * 60;
  auto* certificate = subject.certificate;
  static long serial = 0;
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate), isExpired ? -20 * day : -day);
  X509_gmtime_adj(X509_getm_notAfter(certificate), isExpired ? -10 * day : day);
  X509_set_issuer_name(certificate, X509_get_subject_name(issuer.certificate));
  X509_set_pubkey(certificate, subject.key);
  require(X509_sign(certificate, issuer.key, EVP_sha256()) > 0, "X509_sign");
}

}  // namespace

struct SigningChain::Parts {
  KeyPair root, authority, leaf;
  bool includesRoot = true;
};

SigningChain::SigningChain(const Options& options) : parts_(std::make_unique<Parts>()) {
  auto& [root, authority, leaf, includesRoot] = *parts_;
  includesRoot = options.includesRoot;
  addName(root.certificate, "CN", options.rootName);
  addExtension(root.certificate, "basicConstraints", "critical,CA:TRUE");
  issue(root, root, options.isExpired);
  addName(authority.certificate, "CN", "Authority");
  addExtension(authority.certificate, "basicConstraints",
               options.authorityMayIssue ? "critical,CA:TRUE" : "critical,CA:FALSE");
  issue(authority, root, options.isExpired);
  addName(leaf.certificate, "CN", options.leafName);
  if (options.team) addName(leaf.certificate, "OU", *options.team);
  const auto& purpose = options.purpose;
  if (!purpose.empty()) addExtension(leaf.certificate, "extendedKeyUsage", purpose.c_str());
  // Critical, as authorities make theirs; the value is a null.
  if (options.isStores) {
    addExtension(leaf.certificate, "1.2.840.113635.100.6.1.9", "critical,DER:0500");
  }
  issue(leaf, authority, options.isExpired);
}

SigningChain::~SigningChain() = default;

Data SigningChain::rootDigest() const {
  Data digest(20);
  X509_digest(parts_->root.certificate, EVP_sha1(), digest.data(), nullptr);
  return digest;
}

Data SigningChain::sign(const Data& content, const std::vector<SignedAttribute>& attributes) const {
  constexpr unsigned flags = CMS_DETACHED | CMS_BINARY | CMS_PARTIAL | CMS_NOSMIMECAP;
  auto* cms = CMS_sign(nullptr, nullptr, nullptr, nullptr, flags);
  auto* signer =
      CMS_add1_signer(cms, parts_->leaf.certificate, parts_->leaf.key, EVP_sha256(), flags);
  require(signer && CMS_add1_cert(cms, parts_->authority.certificate) == 1, "signer");
  if (parts_->includesRoot) require(CMS_add1_cert(cms, parts_->root.certificate) == 1, "root");
  for (const auto& attribute : attributes) {
    const int type = attribute.isEncoded ? V_ASN1_SEQUENCE : V_ASN1_OCTET_STRING;
    require(
        CMS_signed_add1_attr_by_txt(signer, attribute.type.c_str(), type, attribute.value.data(),
                                    static_cast<int>(attribute.value.size())) == 1,
        "attribute");
  }
  auto* bytes = BIO_new_mem_buf(content.data(), static_cast<int>(content.size()));
  require(CMS_final(cms, bytes, nullptr, flags) == 1, "CMS_final");
  BIO_free(bytes);
  unsigned char* encoded = nullptr;
  const int size = i2d_CMS_ContentInfo(cms, &encoded);
  require(size > 0, "i2d_CMS_ContentInfo");
  Data message(encoded, encoded + size);
  OPENSSL_free(encoded);
  CMS_ContentInfo_free(cms);
  return message;
}

Data testDigest(unsigned kind, const Data& bytes) {
  const auto* algorithm = kind == 1 ? EVP_sha1() : kind == 4 ? EVP_sha384() : EVP_sha256();
  Data digest(EVP_MAX_MD_SIZE);
  unsigned size = 0;
  require(EVP_Digest(bytes.data(), bytes.size(), digest.data(), &size, algorithm, nullptr) == 1,
          "EVP_Digest");
  digest.resize(kind == 3 ? 20 : size);
  return digest;
}

}  // namespace qrt::test
