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
  std::shared_ptr<EVP_PKEY> key{EVP_EC_gen("P-256"), EVP_PKEY_free};
  std::shared_ptr<X509> certificate{X509_new(), X509_free};

  void addName(const char* field, const std::string& text) const {
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), field, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<int>(text.size()), -1, 0);
  }
  void addExtension(const char* name, const std::string& value) const {
    auto* extension = X509V3_EXT_conf(nullptr, nullptr, name, value.c_str());
    require(extension && X509_add_ext(certificate.get(), extension, -1) == 1, "extension");
    X509_EXTENSION_free(extension);
  }
  void issueBy(const KeyPair& issuer, bool isExpired) const {
    constexpr long day = 24 * 60 * 60;
    static long serial = 0;
    auto* own = certificate.get();
    X509_set_version(own, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(own), ++serial);
    X509_gmtime_adj(X509_getm_notBefore(own), isExpired ? -20 * day : -day);
    X509_gmtime_adj(X509_getm_notAfter(own), isExpired ? -10 * day : day);
    X509_set_issuer_name(own, X509_get_subject_name(issuer.certificate.get()));
    X509_set_pubkey(own, key.get());
    require(X509_sign(own, issuer.key.get(), EVP_sha256()) > 0, "X509_sign");
  }
};

}  // namespace

struct SigningChain::Parts {
  KeyPair root, authority, leaf;
  bool includesRoot = true;
};

SigningChain::SigningChain(const Options& options) : parts_(std::make_unique<Parts>()) {
  auto& [root, authority, leaf, includesRoot] = *parts_;
  includesRoot = options.includesRoot;
  root.addName("CN", options.rootName);
  root.addExtension("basicConstraints", "critical,CA:TRUE");
  root.issueBy(root, options.isExpired);
  authority.addName("CN", "Authority");
  authority.addExtension("basicConstraints",
                         options.authorityMayIssue ? "critical,CA:TRUE" : "critical,CA:FALSE");
  authority.issueBy(root, options.isExpired);
  leaf.addName("CN", options.leafName);
  if (options.team) leaf.addName("OU", *options.team);
  if (!options.purpose.empty()) leaf.addExtension("extendedKeyUsage", options.purpose);
  // Critical, as authorities make theirs; the value is a null.
  if (options.isStores) leaf.addExtension("1.2.840.113635.100.6.1.9", "critical,DER:0500");
  leaf.issueBy(authority, options.isExpired);
}

SigningChain::~SigningChain() = default;

Data SigningChain::rootDigest() const {
  Data digest(20);
  X509_digest(parts_->root.certificate.get(), EVP_sha1(), digest.data(), nullptr);
  return digest;
}

Data SigningChain::sign(const Data& content, const std::vector<SignedAttribute>& attributes) const {
  constexpr unsigned flags = CMS_DETACHED | CMS_BINARY | CMS_PARTIAL | CMS_NOSMIMECAP;
  const auto& [root, authority, leaf, includesRoot] = *parts_;
  const std::shared_ptr<CMS_ContentInfo> cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, flags),
                                             CMS_ContentInfo_free);
  auto* signer =
      CMS_add1_signer(cms.get(), leaf.certificate.get(), leaf.key.get(), EVP_sha256(), flags);
  require(signer && CMS_add1_cert(cms.get(), authority.certificate.get()) == 1, "signer");
  require(!includesRoot || CMS_add1_cert(cms.get(), root.certificate.get()) == 1, "root");
  for (const auto& [type, value, isEncoded] : attributes) {
    const int kind = isEncoded ? V_ASN1_SEQUENCE : V_ASN1_OCTET_STRING;
    require(CMS_signed_add1_attr_by_txt(signer, type.c_str(), kind, value.data(),
                                        static_cast<int>(value.size())) == 1,
            "attribute");
  }
  const std::shared_ptr<BIO> bytes(
      BIO_new_mem_buf(content.data(), static_cast<int>(content.size())), BIO_free);
  require(CMS_final(cms.get(), bytes.get(), nullptr, flags) == 1, "CMS_final");
  Data message(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)));
  auto* end = message.data();
  require(i2d_CMS_ContentInfo(cms.get(), &end) > 0, "i2d_CMS_ContentInfo");
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
