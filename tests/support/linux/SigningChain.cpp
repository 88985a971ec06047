#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <stdexcept>

#include "support/BundleSigner.h"

namespace qrt::test {
namespace {

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

using Texts = std::vector<std::pair<const char*, std::string>>;

struct Identity {
  std::shared_ptr<EVP_PKEY> key{EVP_EC_gen("P-256"), EVP_PKEY_free};
  std::shared_ptr<X509> certificate{X509_new(), X509_free};

  void issueBy(const Identity& issuer, const Texts& names, const Texts& extensions, bool isOld) {
    constexpr long day = 24 * 60 * 60;
    static long serial = 0;
    auto* own = certificate.get();
    for (const auto& [field, text] : names) {
      X509_NAME_add_entry_by_txt(X509_get_subject_name(own), field, MBSTRING_UTF8,
                                 reinterpret_cast<const unsigned char*>(text.data()),
                                 static_cast<int>(text.size()), -1, 0);
    }
    for (const auto& [name, value] : extensions) {
      auto* extension = X509V3_EXT_conf(nullptr, nullptr, name, value.c_str());
      require(extension && X509_add_ext(own, extension, -1) == 1, name);
      X509_EXTENSION_free(extension);
    }
    X509_set_version(own, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(own), ++serial);
    X509_gmtime_adj(X509_getm_notBefore(own), isOld ? -20 * day : -day);
    X509_gmtime_adj(X509_getm_notAfter(own), isOld ? -10 * day : day);
    X509_set_issuer_name(own, X509_get_subject_name(issuer.certificate.get()));
    X509_set_pubkey(own, key.get());
    require(X509_sign(own, issuer.key.get(), EVP_sha256()) > 0, "X509_sign");
  }
};

}  // namespace

struct SigningChain::Parts {
  Identity root, authority, leaf;
  bool includesRoot = true;
};

SigningChain::SigningChain(const Options& options) : parts_(std::make_shared<Parts>()) {
  auto& [root, authority, leaf, includesRoot] = *parts_;
  includesRoot = options.includesRoot;
  const auto mayIssue = [](bool may) {
    return Texts{{"basicConstraints", may ? "critical,CA:TRUE" : "critical,CA:FALSE"}};
  };
  const bool isOld = options.isOldStores;
  root.issueBy(root, {{"CN", options.rootName}}, mayIssue(true), isOld);
  authority.issueBy(root, {{"CN", "Authority"}}, mayIssue(options.authorityMayIssue), isOld);
  Texts names{{"CN", options.leafName}}, extensions;
  if (options.team) names.emplace_back("OU", *options.team);
  if (!options.purpose.empty()) extensions.emplace_back("extendedKeyUsage", options.purpose);
  // Critical, as authorities make theirs; the value is a null.
  if (isOld) extensions.emplace_back("1.2.840.113635.100.6.1.9", "critical,DER:0500");
  leaf.issueBy(authority, names, extensions, isOld);
}

Data SigningChain::rootDigest() const {
  Data digest(20);
  X509_digest(parts_->root.certificate.get(), EVP_sha1(), digest.data(), nullptr);
  return digest;
}

Data SigningChain::sign(const Data& content, const Data& olderList,
                        const std::vector<Data>& newerList) const {
  constexpr unsigned flags = CMS_DETACHED | CMS_BINARY | CMS_PARTIAL | CMS_NOSMIMECAP;
  const auto& [root, authority, leaf, includesRoot] = *parts_;
  const std::shared_ptr<CMS_ContentInfo> cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, flags),
                                             CMS_ContentInfo_free);
  auto* signer =
      CMS_add1_signer(cms.get(), leaf.certificate.get(), leaf.key.get(), EVP_sha256(), flags);
  CMS_add1_cert(cms.get(), authority.certificate.get());
  if (includesRoot) CMS_add1_cert(cms.get(), root.certificate.get());
  const auto add = [signer](const char* type, int kind, const Data& value) {
    require(CMS_signed_add1_attr_by_txt(signer, type, kind, value.data(),
                                        static_cast<int>(value.size())) == 1,
            type);
  };
  if (!olderList.empty()) add("1.2.840.113635.100.9.1", V_ASN1_OCTET_STRING, olderList);
  for (const auto& pair : newerList) add("1.2.840.113635.100.9.2", V_ASN1_SEQUENCE, pair);
  const std::shared_ptr<BIO> bytes(
      BIO_new_mem_buf(content.data(), static_cast<int>(content.size())), BIO_free);
  require(CMS_final(cms.get(), bytes.get(), nullptr, flags) == 1, "CMS_final");
  Data message(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)));
  auto* end = message.data();
  i2d_CMS_ContentInfo(cms.get(), &end);
  return message;
}

Data testDigest(unsigned kind, const Data& bytes) {
  const auto* algorithm = kind == 1 ? EVP_sha1() : kind == 4 ? EVP_sha384() : EVP_sha256();
  Data digest(EVP_MAX_MD_SIZE);
  unsigned size = 0;
  EVP_Digest(bytes.data(), bytes.size(), digest.data(), &size, algorithm, nullptr);
  digest.resize(kind == 3 ? 20 : size);
  return digest;
}

}  // namespace qrt::test
