#include "filesystem/OperationFixture.h"

namespace qrt {
namespace {

using ClassicAttributesTest = test::OperationFixture;

TEST_F(ClassicAttributesTest, AFileSystemWithoutAttributesHasNoneToClear) {
  const std::string file = "/proc/self/stat";
  EXPECT_EQ(perform("ModifyHfsattr", {file, 0, 0, 0}), success);
  EXPECT_EQ(perform("ModifyHfsattr", {file, 0x54595045, 0, 1})->domain, cocoaErrorDomain);
}

}  // namespace
}  // namespace qrt
