#include <gtest/gtest.h>

#include "platform/Nvram.h"
#include "platform/SMCExchange.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/IOObject.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

/// Every handle of the registry is given back in the end.
class RegistryTest : public testing::Test {
 protected:
  RegistryTest() { fakeRegistry = {}; }
  ~RegistryTest() override { EXPECT_EQ(fakeRegistry.held, 0); }
};

TEST_F(RegistryTest, VariablesAreReadAndSet) {
  const auto nvram = makeNvram();
  EXPECT_FALSE(*nvram->options());
  const CFOwner<CFMutableDictionaryRef> variables(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  fakeRegistry.options = variables.get();
  CFDictionarySetValue(variables.get(), cfString("odd").get(), kCFNull);
  const auto options = std::move(*nvram->options());
  for (const auto& value : std::vector{PropertyValue("text"), PropertyValue(Data{1}),
                                       PropertyValue(7), PropertyValue(true)}) {
    EXPECT_EQ(options->set("name", value), KernelReturn::noError);
    EXPECT_EQ(**options->value("name"), value);
  }
  EXPECT_FALSE(*options->value("none"));
  EXPECT_FALSE(*options->value("\xFF"));
  EXPECT_EQ(options->value("odd").error(), PosixCode::invalidArgument);
  EXPECT_EQ(options->set("\xFF", 1), KernelReturn::badArgument);
  EXPECT_EQ(options->set("name", "\xFF"), KernelReturn::badArgument);
  fakeRegistry.code = static_cast<int>(KernelReturn::notPrivileged);
  EXPECT_EQ(options->set("name", 1), KernelReturn::notPrivileged);
}

TEST_F(RegistryTest, EachExchangeOpensAndClosesTheController) {
  SMCParameterRecord question, answer;
  question.key = 0x234B4559;
  EXPECT_EQ(makeSMCExchange()->callSMC(question, answer), KernelReturn::noError);
  EXPECT_EQ(answer.key, question.key);
  EXPECT_EQ(fakeRegistry.calls, "oxc");
  fakeRegistry.hasDriver = false;
  EXPECT_EQ(makeSMCExchange()->callSMC(question, answer), KernelReturn::error);
  fakeRegistry.code = static_cast<int>(KernelReturn::busy);
  EXPECT_EQ(makeSMCExchange()->callSMC(question, answer), KernelReturn::busy);
}

}  // namespace
}  // namespace qrt
