// Signed programs and bundles that a test makes for itself.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "support/SigningChain.h"

namespace qrt::test {

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
  /// In which forms the signer lists the directories, and how many of them.
  enum Lists { none, older, newer, both } lists = both;
  std::size_t listedDirectories = 9;
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
  /// Of the last program: the hash that names it, and offsets in the bytes.
  Data directoryHash;
  std::size_t directoryOffset = 0;
  std::size_t cmsOffset = 0;
};

/// An executable of some pages of code. The sealed parts may be null.
SignedProgramFile signedProgram(const SigningChain& chain, const SigningOptions& options,
                                const Data* infoPlist, const Data* resourceList);

/// Writes the list of sealed files and the executable of a bundle that has its information file.
/// `code` are paths of signed code inside, with the hashes that name it.
SignedProgramFile signBundle(const std::string& bundle, const SigningChain& chain,
                             const SigningOptions& options = {},
                             const std::vector<std::pair<std::string, Data>>& code = {});

/// Makes an unsigned application with some resources.
void makeApplication(const std::string& path, const Dictionary& info);

}  // namespace qrt::test
