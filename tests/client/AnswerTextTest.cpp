#include "client/cli/AnswerText.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(AnswerTextTest, CodesThatHaveAMeaningAreTold) {
  EXPECT_EQ(answerText("ObjectExistence", 0), "nothing there");
  EXPECT_EQ(answerText("ObjectExistence", 1.0), "folder");
  EXPECT_EQ(answerText("ObjectExistence", 2), "object that is not a folder");
  EXPECT_EQ(answerText("ObjectExistence", 3), "3");
  EXPECT_EQ(answerText("installed", 1), "1");
  EXPECT_EQ(answerText("ObjectExistence", "text\x1b"), "text\\x1b");
}

}  // namespace
}  // namespace qrt
