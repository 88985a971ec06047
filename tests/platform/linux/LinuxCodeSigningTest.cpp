#include "platform/linux/signing/LinuxCodeSigning.h"

#include <gmock/gmock.h>

#include "platform/linux/signing/CmsSignature.h"
#include "support/BundleSigner.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using namespace code_signing_status;
using test::SigningChain;
using test::SigningOptions;

const SigningOptions thin{.team = "TEAM"};
const SigningOptions universal{
    .team = "TEAM",
    .programs = {{.is64 = false, .isBigEndian = true}, {.is64 = true}, {.is64 = false}},
    .digests = {2}};

/// An application with code inside, in a folder of its own.
struct Application {
  explicit Application(const SigningOptions& options = thin,
                       const SigningChain::Options& chainOptions = {.team = "TEAM"})
      : chain(chainOptions) {
    test::makeApplication(path, {});
    // The older list knows no links.
    if (!options.sealsNewerForm) unlink(contents("Resources/link").c_str());
    sign(options);
  }

  void sign(const SigningOptions& options) {
    const auto helper = test::signedProgram(chain, universal, nullptr, nullptr);
    put("MacOS/helper", helper.bytes);
    alter("mkdir -p PlugIns");
    const auto inner = contents("PlugIns/Inner.app");
    test::makeApplication(inner, {});
    const auto nested = test::signBundle(inner, chain, {.digests = {2}});
    program = test::signBundle(
        path, chain, options,
        {{"MacOS/helper", helper.directoryHash}, {"PlugIns/Inner.app", nested.directoryHash}});
  }

  std::string contents(const std::string& name) const { return path + "/Contents/" + name; }

  void put(const std::string& name, const Data& bytes) const {
    test::plant(scratch, "A.app/Contents/" + name,
                {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }

  Data read(const std::string& name) const {
    const auto text = test::contentsOf(contents(name));
    return {text.begin(), text.end()};
  }

  /// Runs a shell script among the contents.
  void alter(const std::string& script) const { scratch.make("cd A.app/Contents; " + script); }

  Outcome validity() const {
    const auto code = LinuxCodeSigning().staticCode(path);
    return code ? code->checkValidity() : Outcome(posixError(PosixCode::noEntry));
  }

  test::ScratchFolder scratch;
  std::string path = scratch.path("A.app");
  SigningChain chain;
  test::SignedProgramFile program;
};

/// The code of the answer and the keys of its user information with the number of paths.
std::string shown(const Outcome& outcome) {
  std::string text = std::to_string(codeOf(outcome));
  if (!outcome) return text;
  for (const auto& [key, paths] : outcome->userInfo) {
    text += " " + key + " " + std::to_string(paths.array()->size());
  }
  return text;
}

TEST(LinuxCodeSigning, EveryFormOfSignatureIsValid) {
  const SigningOptions forms[] = {
      thin,
      universal,
      {.digests = {1}, .listsDirectories = false, .listsDirectoryDigests = false},
      {.digests = {2, 1}, .listsDirectoryDigests = false},
      {.digests = {1, 2, 4}, .listsDirectories = false},
      {.programs = {{.is64 = true, .isBigEndian = true}, {}},
       .digests = {3, 2},
       .listsDirectoryDigests = false},
      {.sealsNewerForm = false}};
  for (const auto& form : forms) {
    EXPECT_EQ(shown(Application(form).validity()), "0") << &form - forms;
  }
  const Application bought(thin, {.team = "Store", .isExpired = true, .isStores = true});
  EXPECT_EQ(shown(bought.validity()), "0");
}

TEST(LinuxCodeSigning, TellsWhoSignedWhat) {
  const Application application;
  const auto code = LinuxCodeSigning().staticCode(application.path + "/");
  ASSERT_TRUE(code);
  const auto information = code->signingInformation();
  ASSERT_TRUE(information);
  EXPECT_EQ(information->identifier, "com.example.app");
  EXPECT_EQ(information->teamIdentifier, "TEAM");
  std::vector<std::string> names;
  for (const auto& each : information->certificates) names.push_back(each.commonName.value_or(""));
  EXPECT_THAT(names, testing::ElementsAre("Software Signing", "Authority", "Apple Root CA"));
  const auto& root = information->certificates.back().digest;
  EXPECT_EQ(Data(root.begin(), root.end()), application.chain.rootDigest());

  // A program by itself, and what is none.
  const auto helper = LinuxCodeSigning().staticCode(application.contents("MacOS/helper"));
  ASSERT_TRUE(helper);
  EXPECT_EQ(helper->checkValidity(), success);
  EXPECT_EQ(codeOf(LinuxCodeSigning().staticCode("/etc/passwd")->checkValidity()), notSigned);
  for (const auto* none : {"/", "/dev/null", "/nothing", ""}) {
    EXPECT_EQ(LinuxCodeSigning().staticCode(none), nullptr) << none;
  }
}

// Answers as `shown` tells them. What is no code to begin with has no entry.
const std::string failed = "-67061", noSignature = "-67062", listFailed = "-67055";
const std::string altered = "-67054 SecCSResourceAltered 1";
const std::string added = "-67054 SecCSResourceAdded ";
const std::string missing = "-67054 SecCSResourceMissing ";
const std::string noCode = "2";

TEST(LinuxCodeSigning, EveryChangedByteOfAProgramIsFound) {
  using Program = test::SignedProgramFile;
  const struct {
    const char* name;
    std::size_t (*place)(const Program&);
    std::string answer;
  } cases[] = {
      {"first page", [](const Program&) { return std::size_t{9}; }, failed},
      {"last page", [](const Program& p) { return p.directoryOffset - 100; }, failed},
      {"code directory", [](const Program& p) { return p.directoryOffset + 100; }, failed},
      {"directory's magic", [](const Program& p) { return p.directoryOffset; }, noSignature},
      // The message begins with its certificates; the authority's and the root's lie in front.
      {"certificate", [](const Program& p) { return p.cmsOffset + 300; }, failed},
      {"another certificate", [](const Program& p) { return p.cmsOffset + 700; }, failed},
      {"space after the signature", [](const Program& p) { return p.bytes.size() - 1; }, "0"},
  };
  for (const auto& c : cases) {
    const Application application;
    auto bytes = application.program.bytes;
    bytes[c.place(application.program)] ^= 1;
    application.put("MacOS/program", bytes);
    EXPECT_EQ(shown(application.validity()), c.answer) << c.name;
  }
}

void expectAnswers(const std::vector<std::pair<std::string, std::string>>& alterations) {
  for (const auto& [script, answer] : alterations) {
    const Application application;
    application.alter(script);
    EXPECT_EQ(shown(application.validity()), answer) << script;
  }
}

TEST(LinuxCodeSigning, EveryAlterationOfABundleIsFound) {
  expectAnswers({
      {"echo >> MacOS/program", noSignature},
      {"truncate -s -1 MacOS/program", noSignature},
      {"echo '<!-- -->' >> Info.plist", "-67030"},
      {"echo '<!-- -->' >> _CodeSignature/CodeResources", listFailed},
      {"rm -r _CodeSignature CodeResources", listFailed},
      {"echo b > Resources/resource", altered},
      {"rm Resources/resource", missing + "1"},
      {"rm -r Resources", missing + "2"},
      // Tables of texts are optional.
      {"rm -r Resources/en.lproj", "0"},
      {"echo b > Resources/en.lproj/text.strings", altered},
      {"touch Resources/new", added + "1"},
      {"touch ../new", added + "1"},
      {"mkdir -p a/b/c; touch a/1 a/b/2 a/b/c/3", added + "3"},
      {"mkdir a; seq 1000 | sed s=^=a/= | xargs touch", added + "16"},
      {"mv Resources/resource Resources/new", added + "1 SecCSResourceMissing 1"},
      // What does not count.
      {"touch .DS_Store Resources/.DS_Store PkgInfo ../.DS_Store", "0"},
      {"mkdir -p a/b", "0"},
      {"mkdir _MASReceipt; touch _MASReceipt/receipt", "0"},
      // Links in the place of what was sealed.
      {"ln -sfn /etc/passwd Resources/link", altered},
      {"mv Resources/resource PkgInfo; ln -s ../PkgInfo Resources/resource", altered},
      {"rm Resources/link; echo a > Resources/link", altered},
      {"ln -s resource Resources/other", added + "1"},
      {"mv Resources R; ln -s R Resources", added + "4 SecCSResourceMissing 2"},
      {"mv MacOS/program PkgInfo; ln -s ../PkgInfo MacOS/program", noCode},
      // Code inside.
      {"printf x | dd of=MacOS/helper bs=1 seek=5000 conv=notrunc", altered},
      {"echo b > PlugIns/Inner.app/Contents/Resources/resource", altered},
      {"mv PlugIns/Inner.app ../..; ln -s ../../../Inner.app PlugIns/Inner.app", altered},
      {"rm -r PlugIns", missing + "1"},
  });
  const Application application;
  const auto other = test::signedProgram(application.chain, thin, nullptr, nullptr);
  application.put("MacOS/helper", other.bytes);
  EXPECT_EQ(shown(application.validity()), altered) << "other code of the same signer";
}

TEST(LinuxCodeSigning, NothingIsWaitedForAndNothingGrows) {
  expectAnswers({
      {"rm Resources/resource; mkfifo Resources/resource", altered},
      {"rm -r _CodeSignature/* CodeResources; mkfifo _CodeSignature/CodeResources", listFailed},
      {"rm MacOS/program; mkfifo MacOS/program", noCode},
      {"rm Info.plist; mkfifo Info.plist", noCode},
      {"rm MacOS/helper; mkfifo MacOS/helper", altered},
      {"rm Resources/resource; ln -s /dev/zero Resources/resource", altered},
      {"truncate -s 4T Resources/resource", altered},
      {"truncate -s 4T MacOS/program", noSignature},
      {"truncate -s 4T _CodeSignature/CodeResources", listFailed},
      {"truncate -s 4T Info.plist", noCode},
      {"ln -s b a; ln -s a b; ln -s . c", added + "3"},
      {"for i in $(seq 300); do mkdir -p d; cd d; done", altered},
  });
}

TEST(LinuxCodeSigning, FrameworksAreTheirCurrentVersion) {
  const test::ScratchFolder scratch;
  const auto path = scratch.path("F.framework");
  test::makeApplication(scratch.path("application"), {});
  scratch.make(
      "mkdir -p F.framework/Versions/A; cd F.framework; ln -s A Versions/Current;"
      "ln -s Versions/Current/Resources; cd ../application/Contents; mv Info.plist Resources;"
      "mv Resources ../../F.framework/Versions/A/");
  test::signBundle(
      path, SigningChain(),
      {.base = "Versions/A", .infoPlist = "Resources/Info.plist", .program = "program"});
  const auto validity = [&] { return shown(LinuxCodeSigning().staticCode(path)->checkValidity()); };
  EXPECT_EQ(validity(), "0");
  scratch.make("cd F.framework; ln -s /etc Headers; touch new; mkdir Versions/B");
  EXPECT_EQ(validity(), "-67054 SecCSResourceAdded 3");
  scratch.make(
      "cd F.framework; rm -r Headers new Versions/B; mv Versions/A ..; ln -s ../../A Versions");
  EXPECT_EQ(LinuxCodeSigning().staticCode(path), nullptr);
}

TEST(LinuxCodeSigning, SignaturesThatNobodyMayMake) {
  const SigningOptions unlisted{
      .digests = {1, 2}, .listsDirectories = false, .listsDirectoryDigests = false};
  const struct {
    const char* name;
    SigningOptions options;
    SigningChain::Options chain;
  } cases[] = {
      {"for another team", {.team = "OTHER"}, {.team = "TEAM"}},
      {"directory that the signer does not know", unlisted, {}},
      {"certificate for something else", {}, {.purpose = "clientAuth"}},
      {"certificate for anything", {}, {.purpose = ""}},
      {"authority that is none", {}, {.authorityMayIssue = false}},
      {"no anchor", {}, {.includesRoot = false}},
      {"no signer", {.isAdHoc = true}, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(codeOf(Application(c.options, c.chain).validity()), signatureFailed) << c.name;
  }
}

TEST(LinuxCodeSigning, ASignatureOfNothingIsNoneOfBytesThatAreNotThere) {
  const SigningChain chain;
  const Data bytes{1};
  EXPECT_TRUE(verifiedCmsSigner(chain.sign(bytes, {}), bytes));
  // OpenSSL makes nothing to read from of a null pointer, as when memory runs out.
  Data nothing;
  nothing.reserve(1);
  EXPECT_FALSE(verifiedCmsSigner(chain.sign(nothing, {}), {}));
}

TEST(LinuxCodeSigning, ProgramsOfOneFileHaveOneSignerAndAnyIdentifiers) {
  const Application application(universal);
  const auto info = application.read("Info.plist");
  const auto list = application.read("_CodeSignature/CodeResources");
  const auto whole = application.program.bytes;
  const auto last = static_cast<std::ptrdiff_t>(application.program.directoryOffset) - 5000;
  const auto withLastOf = [&](const SigningChain& chain, const std::string& identifier) {
    auto options = universal;
    options.identifier = identifier;
    const auto others = test::signedProgram(chain, options, &info, &list).bytes;
    Data bytes(whole.begin(), whole.begin() + last);
    bytes.insert(bytes.end(), others.begin() + last, others.end());
    application.put("MacOS/program", bytes);
    return shown(application.validity());
  };
  EXPECT_EQ(withLastOf(application.chain, "com.example.app-55554944a5"), "0");
  EXPECT_EQ(withLastOf(SigningChain({.team = "TEAM"}), universal.identifier), failed);
}

TEST(LinuxCodeSigning, LinksThatLeadOutsideAreAlteredEvenWhenSealed) {
  const std::pair<std::string, bool> targets[] = {{"../SharedSupport/./x", true},
                                                  {"../../Contents", true},
                                                  {"../../../x", false},
                                                  {"/x", false},
                                                  {"en.lproj/../../../../x", false}};
  for (const auto& [target, isInside] : targets) {
    Application application;
    application.alter("rm -r PlugIns; ln -sfn " + target + " Resources/link");
    application.sign(thin);
    EXPECT_EQ(application.validity() == success, isInside) << target;
  }
}

TEST(LinuxCodeSigning, BothAnswersAreAboutTheSameCode) {
  Application application;
  const auto code = LinuxCodeSigning().staticCode(application.path);
  const Application other(thin, {.leafName = "Somebody else", .team = "TEAM"});
  ASSERT_TRUE(test::run({"mv", application.path, application.path + ".old"}));
  ASSERT_TRUE(test::run({"cp", "-a", other.path, application.path}));
  EXPECT_EQ(code->checkValidity(), success);
  EXPECT_EQ(code->signingInformation()->certificates.front().commonName, "Software Signing");
}

}  // namespace
}  // namespace qrt
