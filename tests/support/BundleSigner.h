// Signatures, signed programs and signed bundles that a test makes for itself.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"

namespace qrt::test {

/// A new root, an authority below it and a certificate that signs code.
class SigningChain {
 public:
  struct Options {
    std::string rootName = "Apple Root CA";
    std::string leafName = "Software Signing";
    /// The organizational unit of the last certificate.
    std::optional<std::string> team = std::nullopt;
    std::string purpose = "codeSigning";
    bool authorityMayIssue = true;
    /// Whether the message contains the root.
    bool includesRoot = true;
    /// Marks the last certificate as a store's; all expired long ago.
    bool isOldStores = false;
  };

  SigningChain() : SigningChain(Options()) {}
  explicit SigningChain(const Options& options);

  /// SHA-1 of the root's encoding.
  Data rootDigest() const;

  /// The detached CMS signature of the content, with the signer's lists of code directories: the
  /// older one, or nothing, and the encoded pairs of the newer one.
  Data sign(const Data& content, const Data& olderList, const std::vector<Data>& newerList) const;

 private:
  struct Parts;
  std::shared_ptr<Parts> parts_;
};

/// `kind` as signatures number them: 1 SHA-1, 2 SHA-256, 3 SHA-256 cut to 20 bytes, 4 SHA-384.
Data testDigest(unsigned kind, const Data& bytes);

struct ProgramForm {
  bool is64 = true;
  bool isBigEndian = false;
};

struct SigningOptions {
  std::string identifier = "com.example.app";
  std::optional<std::string> team = std::nullopt;
  /// One thin program, or several in a universal file.
  std::vector<ProgramForm> programs{{}};
  /// The kinds of the code directories. The first directory is what is signed.
  std::vector<unsigned> digests{1, 2};
  /// How many directories each form of the signer's list has; with 0 there is no such list.
  std::size_t inOlderList = 9, inNewerList = 9;
  /// Hashes without a signer.
  bool isAdHoc = false;
  /// Whether there is a newer list of sealed files.
  bool sealsNewerForm = true;
  /// The sealed folder of the bundle, and files in it.
  std::string base = "Contents";
  std::string infoPlist = "Info.plist";
  std::string program = "MacOS/program";
  /// Changes a code directory, counted from 0, before it is listed and signed.
  std::function<void(std::size_t index, Data& directory)> change = nullptr;
};

struct SignedProgramFile {
  Data bytes;
  /// Of the last program: the hash that names it, and the place of its first directory.
  Data directoryHash;
  std::size_t directoryOffset = 0;
};

/// An executable of some pages of code, with the files that it seals or null.
SignedProgramFile signedProgram(const SigningChain& chain, const SigningOptions& options,
                                const Data* infoPlist, const Data* resourceList);

/// Writes the list of sealed files and the executable of a bundle that has its information file.
/// `code` are paths of signed code inside, with the hashes that name it.
SignedProgramFile signBundle(const std::string& bundle, const SigningChain& chain,
                             const SigningOptions& options = {},
                             const std::vector<std::pair<std::string, Data>>& code = {});

/// Makes an unsigned application with some resources. `info` completes its information file.
void makeApplication(const std::string& path, Dictionary info = {});

}  // namespace qrt::test
