#include "platform/linux/LinuxCodeSigning.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

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
    const std::string bytes(helper.bytes.begin(), helper.bytes.end());
    test::plant(scratch, "A.app/Contents/MacOS/helper", bytes);
    test::run({"mkdir", "-p", path + "/Contents/PlugIns"});
    const auto inner = path + "/Contents/PlugIns/Inner.app";
    test::makeApplication(inner, {});
    const auto nested = test::signBundle(inner, chain, {.digests = {2}});
    program = test::signBundle(
        path, chain, options,
        {{"MacOS/helper", helper.directoryHash}, {"PlugIns/Inner.app", nested.directoryHash}});
  }

  std::string contents(const std::string& name) const { return path + "/Contents/" + name; }

  Outcome validity() const {
    const auto code = LinuxCodeSigning().staticCode(path);
    return code ? code->checkValidity() : Outcome(posixError(PosixCode::noEntry));
  }

  test::ScratchFolder scratch;
  std::string path = scratch.path("A.app");
  SigningChain chain;
  test::SignedProgramFile program;
};

void change(const std::string& path, std::size_t offset) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekg(static_cast<std::streamoff>(offset));
  const char changed = static_cast<char>(file.get() ^ 1);
  file.seekp(static_cast<std::streamoff>(offset));
  file.put(changed);
}

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
    const Application application(form);
    EXPECT_EQ(shown(application.validity()), "0") << &form - forms;
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

struct Alteration {
  const char* name;
  std::function<void(const Application&)> make;
  std::string answer;
};

TEST(LinuxCodeSigning, EveryAlterationIsFound) {
  const std::string failed = "-67061", bad = "-67054 ";
  const auto shell = [](const std::string& command) {
    return [command](const Application& application) {
      EXPECT_TRUE(test::run({"sh", "-c", "cd " + application.path + "/Contents && " + command}));
    };
  };
  const auto changeProgram = [](auto place) {
    return [place](const Application& application) {
      change(application.contents("MacOS/program"), place(application.program));
    };
  };
  using Program = test::SignedProgramFile;
  const Alteration alterations[] = {
      {"first page", changeProgram([](const Program&) { return 9; }), failed},
      {"last page", changeProgram([](const Program& p) { return p.directoryOffset - 100; }),
       failed},
      {"code directory", changeProgram([](const Program& p) { return p.directoryOffset + 100; }),
       failed},
      {"code directory's magic", changeProgram([](const Program& p) { return p.directoryOffset; }),
       "-67062"},
      // The message begins with its certificates; the authority's and the root's lie in front.
      {"certificate", changeProgram([](const Program& p) { return p.cmsOffset + 300; }), failed},
      {"another certificate", changeProgram([](const Program& p) { return p.cmsOffset + 700; }),
       failed},
      {"behind the signature", changeProgram([](const Program& p) { return p.bytes.size() - 1; }),
       "-67062"},
      {"program grew", shell("echo >> MacOS/program"), "-67062"},
      {"program shrank", shell("truncate -s -1 MacOS/program"), "-67062"},
      {"information file", shell("echo '<!-- -->' >> Info.plist"), "-67030"},
      {"list of files", shell("echo '<!-- -->' >> _CodeSignature/CodeResources"), "-67055"},
      {"no list of files", shell("rm -r _CodeSignature CodeResources"), "-67055"},
      {"resource", shell("echo b > Resources/resource"), bad + "SecCSResourceAltered 1"},
      {"resource's end", shell("echo >> Resources/resource"), bad + "SecCSResourceAltered 1"},
      {"resource gone", shell("rm Resources/resource"), bad + "SecCSResourceMissing 1"},
      {"resources gone", shell("rm -r Resources"), bad + "SecCSResourceMissing 2"},
      {"optional resource gone", shell("rm -r Resources/en.lproj"), "0"},
      {"optional resource", shell("echo b > Resources/en.lproj/text.strings"),
       bad + "SecCSResourceAltered 1"},
      {"file added", shell("touch Resources/new"), bad + "SecCSResourceAdded 1"},
      {"file added at the top", shell("touch ../new"), bad + "SecCSResourceAdded 1"},
      {"files added", shell("mkdir -p a/b/c; touch a/1 a/b/2 a/b/c/3"),
       bad + "SecCSResourceAdded 3"},
      {"very many files added", shell("mkdir a; seq 1000 | sed s=^=a/= | xargs touch"),
       bad + "SecCSResourceAdded 16"},
      {"added and gone", shell("mv Resources/resource Resources/new"),
       bad + "SecCSResourceAdded 1 SecCSResourceMissing 1"},
      {"files that do not count", shell("touch .DS_Store Resources/.DS_Store PkgInfo ../.DS_Store"),
       "0"},
      {"empty folder", shell("mkdir -p a/b"), "0"},
      {"receipt", shell("mkdir _MASReceipt; touch _MASReceipt/receipt"), "0"},
      {"link elsewhere", shell("ln -sfn /etc/passwd Resources/link"),
       bad + "SecCSResourceAltered 1"},
      {"link for a file",
       shell("mv Resources/resource PkgInfo; ln -s ../PkgInfo Resources/resource"),
       bad + "SecCSResourceAltered 1"},
      {"file for a link", shell("rm Resources/link; echo a > Resources/link"),
       bad + "SecCSResourceAltered 1"},
      {"link added", shell("ln -s resource Resources/other"), bad + "SecCSResourceAdded 1"},
      {"link for a folder", shell("mv Resources R; ln -s R Resources"),
       bad + "SecCSResourceAdded 4 SecCSResourceMissing 2"},
      {"link for the program", shell("mv MacOS/program PkgInfo; ln -s ../PkgInfo MacOS/program"),
       "2"},
      {"nested program", [](const Application& a) { change(a.contents("MacOS/helper"), 5000); },
       bad + "SecCSResourceAltered 1"},
      {"another nested program",
       [](const Application& a) {
         const auto other = test::signedProgram(a.chain, thin, nullptr, nullptr);
         test::plant(a.scratch, "A.app/Contents/MacOS/helper",
                     {reinterpret_cast<const char*>(other.bytes.data()), other.bytes.size()});
       },
       bad + "SecCSResourceAltered 1"},
      {"nested resource", shell("echo b > PlugIns/Inner.app/Contents/Resources/resource"),
       bad + "SecCSResourceAltered 1"},
      {"file added to nested code", shell("touch PlugIns/Inner.app/Contents/new"),
       bad + "SecCSResourceAltered 1"},
      {"nested code elsewhere",
       shell("mv PlugIns/Inner.app ../../Inner.app; ln -s "
             "../../../Inner.app PlugIns/Inner.app"),
       bad + "SecCSResourceAltered 1"},
      {"nested code gone", shell("rm -r PlugIns"), bad + "SecCSResourceMissing 1"},
  };
  for (const auto& alteration : alterations) {
    const Application application;
    alteration.make(application);
    EXPECT_EQ(shown(application.validity()), alteration.answer) << alteration.name;
  }
}

TEST(LinuxCodeSigning, NothingIsWaitedForAndNothingGrows) {
  const auto shell = [](const std::string& command) {
    return [command](const Application& application) {
      EXPECT_TRUE(test::run({"sh", "-c", "cd " + application.path + "/Contents && " + command}));
    };
  };
  const Alteration alterations[] = {
      {"fifo for a resource", shell("rm Resources/resource; mkfifo Resources/resource"),
       "-67054 SecCSResourceAltered 1"},
      {"fifo for the list",
       shell("rm -r _CodeSignature/* CodeResources; "
             "mkfifo _CodeSignature/CodeResources"),
       "-67055"},
      {"fifo for the program", shell("rm MacOS/program; mkfifo MacOS/program"), "2"},
      {"fifo for the information file", shell("rm Info.plist; mkfifo Info.plist"), "2"},
      {"fifo for nested code", shell("rm MacOS/helper; mkfifo MacOS/helper"),
       "-67054 SecCSResourceAltered 1"},
      {"device for a resource", shell("rm Resources/resource; ln -s /dev/zero Resources/resource"),
       "-67054 SecCSResourceAltered 1"},
      {"endless resource", shell("truncate -s 4T Resources/resource"),
       "-67054 SecCSResourceAltered 1"},
      {"endless program", shell("truncate -s 4T MacOS/program"), "-67062"},
      {"endless list", shell("truncate -s 4T _CodeSignature/CodeResources"), "-67055"},
      {"endless information file", shell("truncate -s 4T Info.plist"), "2"},
      {"loop of links", shell("ln -s b a; ln -s a b; ln -s . c"), "-67054 SecCSResourceAdded 3"},
      {"deep folders", shell("for i in $(seq 300); do mkdir -p d; cd d; done"),
       "-67054 SecCSResourceAltered 1"},
  };
  for (const auto& alteration : alterations) {
    const Application application;
    alteration.make(application);
    EXPECT_EQ(shown(application.validity()), alteration.answer) << alteration.name;
  }
}

TEST(LinuxCodeSigning, FrameworksAreTheirCurrentVersion) {
  const test::ScratchFolder scratch;
  const auto path = scratch.path("F.framework");
  const auto shell = [&](const std::string& command) {
    EXPECT_TRUE(test::run({"sh", "-c", "cd " + scratch.path() + " && " + command})) << command;
  };
  test::makeApplication(scratch.path("application"), {});
  shell(
      "mkdir -p F.framework/Versions/A && cd F.framework && ln -s A Versions/Current && "
      "ln -s Versions/Current/Resources && mv ../application/Contents/Resources Versions/A/ && "
      "mv ../application/Contents/Info.plist Versions/A/Resources");
  test::signBundle(
      path, SigningChain(),
      {.base = "Versions/A", .infoPlist = "Resources/Info.plist", .program = "program"});
  const auto validity = [&] { return shown(LinuxCodeSigning().staticCode(path)->checkValidity()); };
  EXPECT_EQ(validity(), "0");
  shell("ln -s /etc F.framework/Headers; touch F.framework/new; mkdir F.framework/Versions/B");
  EXPECT_EQ(validity(), "-67054 SecCSResourceAdded 3");
  shell("rm -r F.framework/Headers F.framework/new F.framework/Versions/B");
  shell("mv F.framework/Versions/A A; ln -s ../../A F.framework/Versions/A");
  EXPECT_EQ(LinuxCodeSigning().staticCode(path), nullptr);
}

TEST(LinuxCodeSigning, SignaturesThatNobodyMayMake) {
  const SigningOptions unlisted{
      .digests = {1, 2}, .listsDirectories = false, .listsDirectoryDigests = false};
  struct Case {
    const char* name;
    SigningOptions options;
    SigningChain::Options chain;
  };
  const Case cases[] = {
      {"for another team", {.team = "OTHER"}, {.team = "TEAM"}},
      {"directory that the signer does not know", unlisted, {}},
      {"certificate for something else", {}, {.purpose = "clientAuth"}},
      {"certificate for anything", {}, {.purpose = ""}},
      {"authority that is none", {}, {.authorityMayIssue = false}},
      {"no anchor", {}, {.includesRoot = false}},
  };
  for (const auto& c : cases) {
    const Application application(c.options, c.chain);
    EXPECT_EQ(codeOf(application.validity()), signatureFailed) << c.name;
  }
}

TEST(LinuxCodeSigning, OneProgramDoesNotVouchForAnother) {
  const Application application(universal);
  const SigningChain other({.team = "TEAM"});
  const auto path = application.contents("MacOS/program");
  auto bytes = test::contentsOf(path);
  const auto info = test::contentsOf(application.contents("Info.plist"));
  const auto list = test::contentsOf(application.contents("_CodeSignature/CodeResources"));
  const Data infoPlist(info.begin(), info.end()), resourceList(list.begin(), list.end());
  const auto foreign = test::signedProgram(other, universal, &infoPlist, &resourceList);
  const auto last = application.program.directoryOffset - 5000;
  bytes.replace(
      last, std::string::npos,
      std::string(foreign.bytes.begin() + static_cast<std::ptrdiff_t>(last), foreign.bytes.end()));
  test::plant(application.scratch, "A.app/Contents/MacOS/program", bytes);
  EXPECT_EQ(codeOf(application.validity()), signatureFailed);
}

TEST(LinuxCodeSigning, LinksThatLeadOutsideAreAlteredEvenWhenSealed) {
  struct Case {
    const char* target;
    bool isInside;
  };
  for (const auto& [target, isInside] :
       {Case{"resource", true}, Case{"../SharedSupport/./x", true}, Case{"../../Contents", true},
        Case{"../../../x", false}, Case{"/x", false}, Case{"en.lproj/../../../../x", false}}) {
    Application application;
    const auto link = application.contents("Resources/link");
    unlink(link.c_str());
    ASSERT_EQ(symlink(target, link.c_str()), 0);
    test::run({"rm", "-r", application.contents("PlugIns")});
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
