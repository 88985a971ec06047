#include "filesystem/OperationFixture.h"

namespace qrt {
namespace {

class QRTFolderStashAdditionsTest : public test::OperationFixture {
 protected:
  Outcome stash(const std::string& path, const std::string& name, bool substitute) {
    return perform("RenameStashfolder", {path, name, substitute});
  }
  struct stat statusOf(const std::string& name) {
    return test::statusOf(scratch_.path(name));
  }
  /// Mode, owner, and the attributes with their list of access rights.
  std::string metadataOf(const std::string& name) {
    return test::printed("cd '" + scratch_.path(name) +
                         "' && stat -c '%f %u %g' . && getfattr -d -m - -e hex .");
  }
};

TEST_F(QRTFolderStashAdditionsTest, TheSubstituteIsEmptyAndHasTheSameMetadata) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make(
      "mkdir folder; touch folder/file; chown 1234:4321 folder; chmod 3751 folder;"
      "setfattr -n trusted.label -v t folder; setfacl -m u:77:rwx,g::r-x,d:u:78:r-x folder");
  const auto before = metadataOf("folder");
  const auto inode = statusOf("folder").st_ino;
  // What a new folder is born with here is not what the old one had.
  scratch_.make("setfacl -m d:u:99:rwx,d:g:99:rwx .");
  EXPECT_EQ(stash(scratch_.path("folder"), "aside", true), success);
  scratch_.make("setfacl -b .");

  EXPECT_EQ(statusOf("aside").st_ino, inode);
  EXPECT_TRUE(test::exists(scratch_.path("aside/file")));
  EXPECT_FALSE(test::exists(scratch_.path("folder/file")));
  EXPECT_EQ(metadataOf("folder"), before);
  EXPECT_EQ(metadataOf("aside"), before);
}

TEST_F(QRTFolderStashAdditionsTest, RefusesMissingFoldersAndTakenNames) {
  const auto folder = scratch_.folder("folder"), file = scratch_.file("file");
  EXPECT_EQ(stash("", "aside", true), invalid_);
  EXPECT_EQ(stash(folder, "", true), invalid_);
  EXPECT_EQ(perform("RenameStashfolder", {folder, "aside"}), invalid_);
  for (const auto& path : {file, scratch_.path("missing"), scratch_.link("dangling", "nowhere")}) {
    EXPECT_EQ(stash(path, "aside", true), posixError(PosixCode::notDirectory, path));
  }
  for (const std::string slashes : {"", "/", "//"}) {
    EXPECT_EQ(stash(folder + slashes, slashes + "file", true), posixError(PosixCode::exists, file));
  }
  EXPECT_EQ(stash(folder, "dangling", true)->code, 516);
  if (scratch_.changeFlags("folder", "+i")) {
    EXPECT_EQ(stash(folder, "aside", true)->code, 513);
  }
  EXPECT_TRUE(test::exists(folder));
}

}  // namespace
}  // namespace qrt
