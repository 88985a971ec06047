#include "platform/linux/signing/SignedCode.h"

#include <algorithm>

#include "platform/linux/files/ObjectHold.h"
#include "platform/linux/signing/SealedFile.h"
#include "platform/linux/signing/SealedResources.h"

namespace qrt {
namespace {

/// What all signatures of an executable may take of memory. A program of 1 GiB needs some 14 MiB.
constexpr std::size_t mostSignatureBytes = 32 << 20;

/// Code in code in code: bundles have two or three levels.
constexpr unsigned deepestCode = 8;

std::vector<SignedProgram> readPrograms(int file) {
  const auto size = sizeOfFile(file);
  Data head(static_cast<std::size_t>(std::min<std::uint64_t>(size, machOHeadSize)));
  if (!readAt(file, 0, head)) return {};
  std::vector<SignedProgram> programs;
  auto bytesLeft = mostSignatureBytes;
  for (const auto& place : machOPrograms(head, size)) {
    auto program = SignedProgram::read(file, place, bytesLeft);
    if (!program) return {};
    programs.push_back(std::move(*program));
  }
  return programs;
}

/// Whether both were signed by the same one. Their identifiers may differ.
bool haveOneSigner(const SigningInformation& one, const SigningInformation& other) {
  return one.certificates == other.certificates && one.teamIdentifier == other.teamIdentifier;
}

Outcome statusOutcome(std::int32_t status) {
  return status == 0 ? Outcome() : Outcome(osStatusError(status));
}

}  // namespace

std::optional<SignedCode> SignedCode::open(FileAt object, Links links, std::string path) {
  const auto held = holdObject(object, links);
  const auto status = held ? held->status() : held.error();
  if (!status) return std::nullopt;
  if (!status->isFolder() && status->type() != file_type::regular) return std::nullopt;
  auto opened = openForReading(*held);
  if (!opened) return std::nullopt;

  SignedCode code;
  code.path_ = std::move(path);
  if (status->isFolder()) {
    code.bundle_ = SignedBundle::in(Folder(std::move(*opened)));
    if (!code.bundle_) return std::nullopt;
    opened = openFileBeneath(code.bundle_->base, code.bundle_->executablePath);
    if (!opened) return std::nullopt;
  }
  code.executable_ = std::move(*opened);
  code.programs_ = readPrograms(code.executable_.get());
  return code;
}

std::optional<SigningInformation> SignedCode::information() const {
  return programs_.empty() ? std::nullopt : std::optional(programs_.front().information());
}

Outcome SignedCode::check(SigningBudget& budget, unsigned depth) const {
  using namespace code_signing_status;
  if (programs_.empty()) return osStatusError(notSigned);
  // Or the first signer would vouch for another signer's program.
  const bool areOneSigners =
      std::all_of(programs_.begin(), programs_.end(), [&](const SignedProgram& each) {
        return haveOneSigner(each.information(), programs_.front().information());
      });
  if (!areOneSigners) return osStatusError(signatureFailed);

  const auto resourceList = bundle_ ? bundle_->resourceList() : std::nullopt;
  const SignedProgram::Parts parts{.infoPlist = bundle_ ? &bundle_->infoPlist : nullptr,
                                   .resourceList = resourceList ? &*resourceList : nullptr,
                                   .isInBundle = bundle_.has_value()};
  for (const auto& program : programs_) {
    auto outcome = statusOutcome(program.check(executable_.get(), parts, budget));
    if (outcome) return outcome;
  }
  return bundle_ ? checkResources(parts.resourceList, budget, depth) : success;
}

Outcome SignedCode::checkResources(const Data* resourceList, SigningBudget& budget,
                                   unsigned depth) const {
  const auto envelope = resourceList ? ResourceEnvelope::read(*resourceList) : std::nullopt;
  if (!envelope) return osStatusError(code_signing_status::resourcesInvalid);
  const auto codeCheck = [&](FileAt object, const Data& directoryHash) {
    if (depth == deepestCode) return false;
    const auto code = open(object, Links::stay, "");
    const bool isNamed =
        code && std::any_of(code->programs_.begin(), code->programs_.end(),
                            [&](const auto& each) { return each.isNamedBy(directoryHash); });
    return isNamed && code->check(budget, depth + 1) == success;
  };
  return SealedResources(*bundle_, path_, *envelope, budget, codeCheck).check();
}

}  // namespace qrt
