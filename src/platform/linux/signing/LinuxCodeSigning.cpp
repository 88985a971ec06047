#include "platform/linux/signing/LinuxCodeSigning.h"

#include "platform/linux/signing/SignedCode.h"

namespace qrt {
namespace {

class LinuxStaticCode final : public StaticCode {
 public:
  explicit LinuxStaticCode(SignedCode code) : code_(std::move(code)) {}

  std::optional<SigningInformation> signingInformation() override { return code_.information(); }

  Outcome checkValidity() override {
    SigningBudget budget;
    return code_.check(budget);
  }

 private:
  SignedCode code_;
};

}  // namespace

std::unique_ptr<StaticCode> LinuxCodeSigning::staticCode(const std::string& path) {
  if (path.find('\0') != std::string::npos) return nullptr;
  auto code = SignedCode::open(path.c_str(), Links::follow, path);
  return code ? std::make_unique<LinuxStaticCode>(std::move(*code)) : nullptr;
}

}  // namespace qrt
