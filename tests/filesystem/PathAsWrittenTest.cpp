#include "filesystem/OperationFixture.h"

namespace qrt {
namespace {

using PathAsWrittenTest = test::OperationFixture;

constexpr const char* posixDomain = "NSPOSIXErrorDomain";

TEST_F(PathAsWrittenTest, ASlashAtTheEndMeansAFolder) {
  constexpr const char* cocoa = "NSCocoaErrorDomain";
  const struct {
    const char* stem;
    Array arguments;
    const char* domain;
    int code;
    const char* gone;
  } rows[] = {
      {"DeleteFileobjects", {"0", "0", "file/"}, posixDomain, 20, ""},
      {"DeleteFileobjects", {"0", "0", "toFile/"}, posixDomain, 20, ""},
      {"DeleteFileobjects", {"0", "0", "toFolder/"}, posixDomain, 20, ""},
      {"DeleteFileobjects", {"0", "0", "dangling/"}, posixDomain, 2, ""},
      {"DeleteFileobjects", {"0", "0", "none/"}, posixDomain, 2, ""},
      {"DeleteFileobjects", {"0", "0", "empty/.."}, posixDomain, 66, ""},
      {"DeleteFileobjects", {"0", "0", "/"}, posixDomain, 16, ""},
      {"DeleteFileobjects", {"0", "0", "empty//"}, "", 0, "empty"},
      {"DeleteFileobjects", {"1", "0", "file/"}, "", 0, ""},
      {"DeleteFileobjects", {"1", "0", "toFile/"}, "", 0, ""},
      {"DeleteFileobjects", {"1", "0", "dangling/"}, "", 0, ""},
      {"DeleteFileobjects", {"1", "0", "toFolder/"}, "", 0, "toFolder"},
      {"DeleteFileobjects", {"1", "0", "empty/.."}, posixDomain, 66, ""},
      {"DeleteFileobjects", {"1", "0", "folder/"}, "", 0, "folder"},
      {"DeleteFoldercontents", {"file/"}, posixDomain, 20, ""},
      {"CreateFileobject", {"new/", "F"}, "com.vantor.error.privileged-operation", 4, ""},
      {"CreateLink", {"new/", "x", 0}, cocoa, 4, ""},
      {"RenameFileobject", {"file", "new/"}, cocoa, 512, ""},
      {"RenameFileobject", {"toFolder/", "new"}, cocoa, 512, ""},
      {"RenameFileobject", {"empty", "new/"}, "", 0, "empty"},
      {"TouchFileobject", {"file/"}, posixDomain, 20, ""},
      {"TouchFileobject", {"none/"}, posixDomain, 2, ""},
      {"ModifyProtection", {"file/", true, false, false}, posixDomain, 20, ""},
      {"ModifyProtection", {"none/", true, false, false}, posixDomain, 2, ""},
      {"PropPermissions", {"file/", 0, false, 0}, posixDomain, 20, ""},
      {"InspectFileobject", {"file/"}, "com.vantor.error.privileged-operation", 0, ""},
  };
  for (const auto& [stem, relative, domain, code, gone] : rows) {
    scratch_.make(
        "rm -rf ./*; mkdir empty folder; touch file folder/kept; ln -s file toFile;"
        "ln -s folder toFolder; ln -s nowhere dangling");
    auto arguments = relative;
    std::string words = stem;
    for (auto& argument : arguments) {
      const auto* text = argument.string();
      if (text == nullptr) continue;
      words += " " + *text;
      const bool isPath = text->find_first_of("/") < text->size() - 1 || text->ends_with('/') ||
                          *text == "file" || *text == "empty" || *text == "new";
      if (isPath && *text != "/") argument = scratch_.path(*text);
    }
    const auto outcome = perform(stem, arguments);
    EXPECT_EQ(outcome ? outcome->domain : "", domain) << words;
    EXPECT_EQ(outcome ? outcome->code : 0, code) << words;
    for (const std::string name :
         {"empty", "folder", "folder/kept", "file", "toFile", "toFolder", "dangling"}) {
      const bool isGone = *gone != 0 && name.starts_with(gone);
      EXPECT_EQ(test::exists(scratch_.path(name)), !isGone) << words << ": " << name;
    }
  }
}

}  // namespace
}  // namespace qrt
