#include "platform/linux/signing/LinuxCodeSigning.h"

#include <gmock/gmock.h>

#include "platform/linux/signing/CmsSignature.h"
#include "platform/linux/signing/SealedResources.h"
#include "support/BundleSigner.h"
#include "support/PlantedFile.h"
#include "support/TestTable.h"

namespace qrt {
namespace {

using test::SigningChain;
using test::SigningOptions;

const SigningOptions thin{.team = "TEAM"};
const SigningOptions universal{
    .team = "TEAM",
    .programs = {{.is64 = false, .isBigEndian = true}, {.isBigEndian = true}, {.is64 = false}, {}},
    .digests = {2}};

/// An application with code inside, in a folder of its own.
struct Application {
  explicit Application(const SigningOptions& options = thin,
                       const SigningChain::Options& chainOptions = {.team = "TEAM"})
      : chain(chainOptions) {
    test::makeApplication(path);
    // The older list cannot seal links.
    if (!options.sealsNewerForm) alter("rm Resources/link");
    sign(options);
  }

  void sign(const SigningOptions& options) {
    const auto helper = test::signedProgram(chain, universal, nullptr, nullptr);
    put("MacOS/helper", helper.bytes);
    alter("mkdir -p PlugIns");
    test::makeApplication(contents("PlugIns/Inner.app"));
    const auto nested = test::signBundle(contents("PlugIns/Inner.app"), chain, {.digests = {2}});
    program = test::signBundle(
        path, chain, options,
        {{"MacOS/helper", helper.directoryHash}, {"PlugIns/Inner.app", nested.directoryHash}});
  }

  std::string contents(const std::string& name) const { return path + "/Contents/" + name; }
  Data read(const std::string& name) const {
    const auto text = test::contentsOf(contents(name));
    return {text.begin(), text.end()};
  }
  void put(const std::string& name, const Data& bytes) const {
    scratch.file("A.app/Contents/" + name, std::string(bytes.begin(), bytes.end()));
  }
  /// Runs a shell script in the folder of the contents.
  void alter(const std::string& script) const { scratch.make("cd A.app/Contents; " + script); }

  test::ScratchFolder scratch;
  std::string path = scratch.path("A.app");
  SigningChain chain;
  test::SignedProgramFile program;
};

/// The status of the code at a path, with the keys of the error and the number of paths of each.
std::string verdict(const std::string& path) {
  const auto code = LinuxCodeSigning().staticCode(path);
  if (!code) return "no code";
  const auto outcome = code->checkValidity();
  std::string text = std::to_string(codeOf(outcome));
  if (!outcome) return text;
  for (const auto& [key, paths] : outcome->userInfo) {
    text +=
        " " + key.substr(sizeof "SecCSResource" - 1) + " " + std::to_string(paths.array()->size());
  }
  return text;
}

const std::string valid = "0", failed = "-67061", unsignedCode = "-67062", listFailed = "-67055";
const std::string infoFailed = "-67030", altered = "-67054 Altered 1";
const std::string added = "-67054 Added ", missing = "-67054 Missing ", noCode = "no code";

TEST(LinuxCodeSigning, JudgesWhoMaySignInWhichForm) {
  const struct {
    const char* name;
    SigningOptions options;
    SigningChain::Options chain;
    std::string verdict;
  } rows[] = {
      {"several programs", universal, {.team = "TEAM"}, valid},
      {"older digest, no lists", {.digests = {1}, .inOlderList = 0, .inNewerList = 0}, {}, valid},
      {"older list of directories", {.inNewerList = 0}, {}, valid},
      {"newer list of directories", {.digests = {1, 2, 4}, .inOlderList = 0}, {}, valid},
      {"cut digest, older list", {.digests = {3, 2}, .inNewerList = 0}, {}, valid},
      {"older list of files", {.sealsNewerForm = false}, {}, valid},
      {"a store, long ago", thin, {.team = "Store", .isOldStores = true}, valid},
      {"another team", {.team = "OTHER"}, {.team = "TEAM"}, failed},
      {"unlisted directory", {.inOlderList = 0, .inNewerList = 0}, {}, failed},
      {"certificate for another purpose", {}, {.purpose = "clientAuth"}, failed},
      {"certificate without a purpose", {}, {.purpose = ""}, failed},
      {"issuer without the right to issue", {}, {.authorityMayIssue = false}, failed},
      {"no root", {}, {.includesRoot = false}, failed},
      {"no signer", {.isAdHoc = true}, {}, failed},
      {"cut older list", {.inOlderList = 1, .inNewerList = 0}, {}, failed},
      {"cut newer list", {.inOlderList = 0, .inNewerList = 1}, {}, failed},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(verdict(Application(row.options, row.chain).path), row.verdict) << row.name;
  }
}

TEST(LinuxCodeSigning, RefusesContradictionsInSignedDirectories) {
  const struct {
    const char* name;
    std::size_t directory;
    /// The byte to change, or the offset of the number that says where it is.
    std::size_t field;
    bool isReference;
    std::string verdict;
  } rows[] = {
      {"identifier", 1, 20, true, failed},
      {"team", 1, 48, true, failed},
      {"hash in the empty slot 4", 0, 16, true, failed},
      {"no hash for the last slot", 0, 27, false, failed},
      {"bytes of code", 0, 35, false, failed},
      {"scattered code", 0, 47, false, unsignedCode},
  };
  for (const auto& row : rows) {
    auto options = thin;
    options.change = [&](std::size_t index, Data& directory) {
      if (index != row.directory) return;
      const auto place =
          row.isReference ? *numberAt<std::uint32_t>(directory, row.field) : row.field;
      constexpr std::size_t sizeOfFourHashes = 80;
      directory[row.field == 16 ? place - sizeOfFourHashes : place] ^= 1;
    };
    // Without a team of its own the signer may sign for all.
    EXPECT_EQ(verdict(Application(options, {}).path), row.verdict) << row.name;
  }
}

TEST(LinuxCodeSigning, TakesAFileForAProgram) {
  const Application application;
  EXPECT_EQ(verdict(application.contents("MacOS/helper")), valid);
  // It may have its information file in its own pages.
  const auto info = application.read("Info.plist");
  application.put("MacOS/helper",
                  test::signedProgram(application.chain, thin, &info, nullptr).bytes);
  EXPECT_EQ(verdict(application.contents("MacOS/helper")), valid);
  EXPECT_EQ(verdict(application.path), altered) << "other code of the same signer";
  EXPECT_EQ(verdict("/etc/passwd"), unsignedCode);
  for (const std::string path : {"/", "/dev/null", "/nothing", ""}) {
    EXPECT_EQ(verdict(path), noCode) << path;
  }
  EXPECT_EQ(verdict(std::string("/etc/passwd\0x", 13)), noCode);
}

TEST(LinuxCodeSigning, FindsEachChangedByteOfAProgram) {
  const Application application, unlisted({.digests = {2}, .inOlderList = 0, .inNewerList = 0}, {});
  const auto directory = application.program.directoryOffset;
  const struct {
    const char* name;
    const Application& changed;
    std::size_t place;
    std::string verdict;
  } rows[] = {
      {"first page", application, 9, failed},
      {"last page", application, directory - 100, failed},
      {"code directory", application, directory + 100, failed},
      {"magic number of the directory", application, directory, unsignedCode},
      {"space after the signature", application, application.program.bytes.size() - 1, valid},
      {"signed directory without a list", unlisted, unlisted.program.directoryOffset + 88, failed},
  };
  for (const auto& [name, changed, place, expected] : rows) {
    auto bytes = changed.program.bytes;
    bytes[place] ^= 1;
    changed.put("MacOS/program", bytes);
    EXPECT_EQ(verdict(changed.path), expected) << name;
  }
}

TEST(LinuxCodeSigning, FindsEachAlterationOfABundle) {
  const Application original;
  for (const auto& row : test::rowsOfTable("platform/linux/bundle-alterations.tsv")) {
    original.scratch.make("mkdir copy; cp -a A.app copy; cd copy/A.app/Contents; " + row[0]);
    EXPECT_EQ(verdict(original.scratch.path("copy/A.app")), row[1]) << row[0];
    original.scratch.make("rm -r copy");
  }
}

TEST(LinuxCodeSigning, TakesAFrameworksCurrentVersion) {
  const test::ScratchFolder scratch;
  const auto path = scratch.path("F.framework");
  test::makeApplication(scratch.path("application"));
  scratch.make(
      "mkdir -p F.framework/Versions/A; cd F.framework; ln -s A Versions/Current;"
      "ln -s Versions/Current/Resources; cd ../application/Contents; mv Info.plist Resources;"
      "mv Resources ../../F.framework/Versions/A/");
  test::signBundle(
      path, SigningChain(),
      {.base = "Versions/A", .infoPlist = "Resources/Info.plist", .program = "program"});
  EXPECT_EQ(verdict(path), valid);
  scratch.make("cd F.framework; ln -s /etc Headers; touch new; mkdir Versions/B");
  EXPECT_EQ(verdict(path), added + "3");
  scratch.make("cd F.framework; rm -r Headers new Versions/B");
  EXPECT_EQ(verdict(path), valid);
  scratch.make("ln -sfn ../Versions/A F.framework/Versions/Current");
  EXPECT_EQ(verdict(path), noCode);
  scratch.make("cd F.framework/Versions; ln -sfn A Current; mv A ../..; ln -s ../../A");
  EXPECT_EQ(verdict(path), noCode);
}

TEST(LinuxCodeSigning, RefusesCodeInTooManyLevels) {
  const test::ScratchFolder scratch;
  const SigningChain chain;
  const auto path = scratch.path("A.app");
  std::vector<std::pair<std::string, Data>> code;
  for (int level = 0; level < 10; ++level) {
    if (level > 0) scratch.make("mv A.app Inner.app");
    test::makeApplication(path);
    if (level > 0) scratch.make("mv Inner.app A.app/Contents");
    code = {{"Inner.app", test::signBundle(path, chain, {}, code).directoryHash}};
    EXPECT_EQ(verdict(path), level < 9 ? valid : altered) << level;
  }
}

TEST(LinuxCodeSigning, RefusesASignatureOverMissingBytes) {
  const SigningChain chain;
  const Data bytes{1};
  EXPECT_TRUE(verifiedCmsSigner(chain.sign(bytes, {}, {}), bytes));
  // OpenSSL makes nothing to read from of a null pointer, as when memory runs out.
  Data nothing;
  nothing.reserve(1);
  EXPECT_FALSE(verifiedCmsSigner(chain.sign(nothing, {}, {}), {}));
}

TEST(LinuxCodeSigning, RefusesProgramsOfTwoSignersInOneFile) {
  // Without a team of its own the signer may sign for all.
  const Application application(universal, {});
  const auto info = application.read("Info.plist");
  const auto list = application.read("_CodeSignature/CodeResources");
  const auto last = static_cast<std::ptrdiff_t>(application.program.directoryOffset) - 5000;
  const auto withLastOf = [&](const SigningChain& chain, SigningOptions options) {
    auto bytes = test::signedProgram(chain, options, &info, &list).bytes;
    std::copy_n(application.program.bytes.begin(), last, bytes.begin());
    application.put("MacOS/program", bytes);
    return verdict(application.path);
  };
  auto options = universal;
  options.identifier = "com.example.app-55554944a5";
  EXPECT_EQ(withLastOf(application.chain, options), valid);
  EXPECT_EQ(withLastOf(SigningChain(), universal), failed);
  options.team = "OTHER";
  EXPECT_EQ(withLastOf(application.chain, options), failed);
  // The second entry of the table is made the first one.
  auto bytes = application.program.bytes;
  std::copy_n(bytes.begin() + 8, 20, bytes.begin() + 28);
  application.put("MacOS/program", bytes);
  EXPECT_EQ(verdict(application.path), unsignedCode);
}

TEST(LinuxCodeSigning, RefusesSealedLinksThatLeaveTheBundle) {
  const std::pair<std::string, std::string> rows[] = {{"../SharedSupport/./x", valid},
                                                      {"../../Contents", valid},
                                                      {"../../../x", altered},
                                                      {"/x", altered},
                                                      {"en.lproj/../x", altered}};
  for (const auto& [target, expected] : rows) {
    Application application;
    application.alter("rm -r PlugIns; ln -sfn " + target + " Resources/link");
    application.sign(thin);
    EXPECT_EQ(verdict(application.path), expected) << target;
  }
}

TEST(ResourceList, OmitsWhatThePatternOfAHeavierRuleMatches) {
  for (const auto& row : test::rowsOfTable("platform/linux/resource-rules.tsv")) {
    const auto pattern = test::unescaped(row[0]), path = test::unescaped(row[1]);
    const auto text =
        "{files2={};rules2={\"^\"={weight=<*R0.5>;};\"" + pattern + "\"=" + row[3] + ";};}";
    const auto list = ResourceList::read(Data(text.begin(), text.end()));
    SigningBudget budget, spent{.patterns = 0};
    EXPECT_EQ(!list                        ? "refused"
              : list->allows(path, budget) ? "omitted"
                                           : "sealed",
              row[2])
        << pattern;
    EXPECT_FALSE(list && list->allows(path, spent));
  }
}

}  // namespace
}  // namespace qrt
