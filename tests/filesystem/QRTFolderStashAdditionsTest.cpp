#include "filesystem/QRTFolderStashAdditions.h"

#include "support/AclText.h"
#include "support/ItemFixture.h"
#include "support/KillAtEveryCall.h"

namespace qrt {
namespace {

class QRTFolderStashAdditionsTest : public test::ItemFixture {
 protected:
  Outcome stash(const std::string& path, const std::string& name, bool substitute) {
    return QRTFolderStashAdditions::performOperationRenameStashfolderWithArguments(
        context_, {path, name, substitute});
  }

  struct stat statusOf(const std::string& name) {
    return test::statusOf(scratch_.path(name));
  }

  Dictionary attributesOf(const std::string& name) {
    Dictionary attributes;
    const auto path = scratch_.path(name);
    const auto names = context_.attributes.names(path.c_str(), Links::follow, Compression::hidden);
    for (const auto& attribute : *names) {
      attributes.emplace(attribute,
                         *context_.attributes.value(path.c_str(), Links::follow, attribute));
    }
    return attributes;
  }
};

TEST_F(QRTFolderStashAdditionsTest, TheSubstituteIsEmptyAndHasTheSameMetadata) {
  const auto folder = scratch_.folder("folder");
  scratch_.file("folder/file");
  ASSERT_EQ(chown(folder.c_str(), 1234, 4321), 0);
  ASSERT_EQ(chmod(folder.c_str(), 03751), 0);
  ASSERT_TRUE(test::run({"setfattr", "-n", "trusted.label", "-v", "t", folder}));
  ASSERT_TRUE(test::run({"setfacl", "-m", "u:77:rwx,g::r-x,d:u:78:r-x", folder}));
  const auto before = statusOf("folder");
  const auto attributes = attributesOf("folder");
  EXPECT_EQ(attributes.size(), 1u);
  const auto list = test::aclOf(folder);
  // What a new folder is born with here is not what the old one had.
  ASSERT_TRUE(test::run({"setfacl", "-m", "d:u:99:rwx,d:g:99:rwx", scratch_.path()}));

  EXPECT_EQ(stash(folder, "aside", true), success);
  EXPECT_EQ(statusOf("aside").st_ino, before.st_ino);
  EXPECT_TRUE(test::exists(scratch_.path("aside/file")));
  EXPECT_FALSE(test::exists(scratch_.path("folder/file")));
  for (const char* name : {"folder", "aside"}) {
    const auto after = statusOf(name);
    EXPECT_EQ(after.st_mode, before.st_mode) << name;
    EXPECT_EQ(test::aclOf(scratch_.path(name)), list) << name;
    EXPECT_EQ(after.st_uid, 1234u) << name;
    EXPECT_EQ(after.st_gid, 4321u) << name;
    EXPECT_EQ(attributesOf(name), attributes) << name;
  }
}

TEST_F(QRTFolderStashAdditionsTest, ASubstituteWithoutMetadataLosesWhatItWasBornWith) {
  const auto folder = scratch_.folder("folder");
  ASSERT_TRUE(test::run({"setfacl", "-m", "d:u:99:rwx", scratch_.path()}));
  EXPECT_EQ(stash(folder, "aside", true), success);
  EXPECT_EQ(attributesOf("folder"), Dictionary());
  EXPECT_EQ(test::aclOf(folder), "user::rwx,group::r-x,other::r-x");
  EXPECT_EQ(statusOf("folder").st_mode & 07777, 0755u);
}

TEST_F(QRTFolderStashAdditionsTest, WithoutASubstituteTheOldPathIsFree) {
  scratch_.folder("folder");
  EXPECT_EQ(stash(scratch_.path("folder/"), "aside", false), success);
  EXPECT_FALSE(test::exists(scratch_.path("folder")));
  EXPECT_TRUE(test::exists(scratch_.path("aside")));
}

TEST_F(QRTFolderStashAdditionsTest, ALinkToAFolderIsMovedItself) {
  scratch_.make("mkdir folder; chmod 0711 folder");
  const auto link = scratch_.link("link", "folder");
  EXPECT_EQ(stash(link, "aside", true), success);
  EXPECT_TRUE(S_ISLNK(statusOf("aside").st_mode));
  EXPECT_EQ(statusOf("link").st_mode, S_IFDIR | 0711u);
}

TEST_F(QRTFolderStashAdditionsTest, WhatCannotBeMovedIsRefused) {
  const auto folder = scratch_.folder("folder");
  const auto file = scratch_.file("file");
  const auto invalid = posixError(PosixCode::invalidArgument);
  EXPECT_EQ(stash("", "aside", true), invalid);
  EXPECT_EQ(stash(folder, "", true), invalid);
  EXPECT_EQ(QRTFolderStashAdditions::performOperationRenameStashfolderWithArguments(
                context_, {folder, "aside"}),
            invalid);
  for (const auto& path : {file, scratch_.path("missing"), scratch_.link("dangling", "nowhere")}) {
    EXPECT_EQ(stash(path, "aside", true), posixError(PosixCode::notDirectory, path));
  }
  EXPECT_EQ(stash(folder, "file", true), posixError(PosixCode::exists, file));
  EXPECT_EQ(stash(folder, "folder", true), posixError(PosixCode::exists, folder));
  EXPECT_EQ(stash(folder, "dangling", true)->code, 516);
  if (scratch_.changeFlags("folder", "+i")) {
    EXPECT_EQ(stash(folder, "aside", true)->code, 513);
  }
  EXPECT_TRUE(test::exists(folder));
}

TEST_F(QRTFolderStashAdditionsTest, AKillAtAnyMomentLosesNothingAndOpensNothing) {
  struct stat before {};
  Dictionary attributes;
  const auto kills = test::killAtEveryCall(
      [&] {
        scratch_.make(
            "rm -rf folder aside; mkdir folder; touch folder/file; chown 1234:4321 folder;"
            "chmod 0710 folder; setfacl -m u:77:rwx,d:u:78:r-x folder");
        before = statusOf("folder");
        attributes = attributesOf("folder");
      },
      [&] { (void)stash(scratch_.path("folder"), "aside", true); },
      [&](int stop) {
        const auto* place = test::exists(scratch_.path("aside")) ? "aside" : "folder";
        const auto moved = statusOf(place);
        EXPECT_EQ(moved.st_ino, before.st_ino) << stop;
        EXPECT_EQ(moved.st_mode, before.st_mode) << stop;
        EXPECT_EQ(moved.st_uid, before.st_uid) << stop;
        EXPECT_EQ(attributesOf(place), attributes) << stop;
        EXPECT_TRUE(test::exists(scratch_.path(place) + "/file")) << stop;
        if (!test::exists(scratch_.path("aside")) || !test::exists(scratch_.path("folder"))) return;
        // A substitute that is not finished is closed to everybody whom the folder keeps out.
        EXPECT_EQ(statusOf("folder").st_mode & ~(before.st_mode | 0700), 0u) << stop;
        EXPECT_FALSE(test::exists(scratch_.path("folder/file"))) << stop;
      });
  EXPECT_GT(kills, 20);
}

}  // namespace
}  // namespace qrt
