// Signatures of a test's own root that count as the maker's.
#pragma once

#include <array>
#include <memory>

#include "platform/CodeSigning.h"

namespace qrt::test {

/// SHA-1 of the maker's root certificate.
inline constexpr std::array<std::uint8_t, 20> appleRootDigest = {
    0x61, 0x1E, 0x5B, 0x66, 0x2C, 0x59, 0x3A, 0x08, 0xFF, 0x58,
    0xD1, 0x4A, 0xE2, 0x24, 0x52, 0xD1, 0x98, 0xDF, 0x6C, 0x60};

/// Reads signatures with another facility and replaces the digest of the test's root by that of the
/// maker's root.
class AppleRootDouble : public CodeSigning {
 public:
  AppleRootDouble(CodeSigning& actual, Data rootDigest)
      : actual_(actual), rootDigest_(std::move(rootDigest)) {}

  std::unique_ptr<StaticCode> staticCode(const std::string& path) override {
    auto code = actual_.staticCode(path);
    return code ? std::make_unique<Code>(std::move(code), *this) : nullptr;
  }

  /// Whether the files of any code were checked.
  bool hasChecked() const { return hasChecked_; }

 private:
  struct Code : StaticCode {
    const std::unique_ptr<StaticCode> actual;
    AppleRootDouble& owner;

    Code(std::unique_ptr<StaticCode> itsActual, AppleRootDouble& itsOwner)
        : actual(std::move(itsActual)), owner(itsOwner) {}
    std::optional<SigningInformation> signingInformation() override {
      auto information = actual->signingInformation();
      if (!information || information->certificates.empty()) return information;
      auto& digest = information->certificates.back().digest;
      if (Data(digest.begin(), digest.end()) == owner.rootDigest_) digest = appleRootDigest;
      return information;
    }
    Outcome checkValidity() override {
      owner.hasChecked_ = true;
      return actual->checkValidity();
    }
  };

  CodeSigning& actual_;
  const Data rootDigest_;
  bool hasChecked_ = false;
};

}  // namespace qrt::test
