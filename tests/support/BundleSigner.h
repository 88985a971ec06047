// Signed programs and bundles that a test makes for itself.
#pragma once

#include <functional>

#include "support/SigningChain.h"

namespace qrt::test {

struct ProgramForm {
  bool is64 = true;
  bool isBigEndian = false;
};

/// In which forms the signer lists the code directories.
enum class Lists { none, older, newer, both };

struct SigningOptions {
  std::string identifier = "com.example.app";
  std::optional<std::string> team = std::nullopt;
  /// One thin program, or several in a universal file.
  std::vector<ProgramForm> programs{{}};
  /// The kinds of the code directories. The first directory is what is signed.
  std::vector<unsigned> digests{1, 2};
  Lists lists = Lists::both;
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
