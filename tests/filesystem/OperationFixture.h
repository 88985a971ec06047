// Operations on file-system objects, performed the way a request does.
#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <stdexcept>

#include "filesystem/FileSystemHandlers.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/AccessControl.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "support/FakeFeedback.h"
#include "support/PlatformDouble.h"
#include "support/ScratchFolder.h"

namespace qrt::test {

class OperationFixture : public testing::Test {
 protected:
  OperationFixture() { registerFileSystemHandlers(handlers_); }

  /// Has operations work with doubles, for the rest of the test.
  void use(const Doubles& doubles) { withDoubles_.emplace(platformWith(doubles, platform_)); }

  const Platform& used() const { return withDoubles_ ? *withDoubles_ : platform_; }

  /// `stem` names the operation. The feedback it sends is kept until the next one.
  Outcome perform(const std::string& stem, const Array& arguments, bool isHeard = true) {
    feedback_.messages.clear();
    const auto connection = isHeard ? feedback_.connect() : nullptr;
    const auto name = "performOperation" + stem + "WithArguments:";
    const auto* handler = handlers_.find(name);
    if (handler == nullptr) handler = handlers_.find(name + "feedbackConnection:");
    if (handler == nullptr) throw std::invalid_argument("no operation " + stem);
    return (*handler)(used(), arguments, connection.get());
  }

  std::vector<double> fractions() const {
    std::vector<double> all;
    for (const auto& message : feedback_.messages) {
      all.push_back(message.at("ProgressFraction").number()->asDouble());
    }
    return all;
  }

  /// Of the objects that a search has found.
  Array records() const {
    Array all;
    for (const auto& message : feedback_.messages) {
      const auto batch = message.find("FileObjectInfo");
      if (batch == message.end()) continue;
      all.insert(all.end(), batch->second.array()->begin(), batch->second.array()->end());
    }
    return all;
  }

  /// An error of operations themselves about an object, which its texts name.
  static void expectError(const Outcome& error, std::int64_t code, const std::string& path) {
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, privilegedOperationErrorDomain);
    EXPECT_EQ(error->code, code);
    EXPECT_EQ(error->userInfo.at("NSFilePath"), path);
    EXPECT_EQ(error->userInfo.at("QRTLocalizedRecoverySuggestionParameters"), Array{path});
  }

  ScratchFolder scratch_;
  const NativePlatform native_;
  const Platform& platform_ = native_.facilities();
  const Outcome invalid_ = posixError(PosixCode::invalidArgument);
  FakeFeedback feedback_;

 private:
  std::optional<Platform> withDoubles_;
  HandlerTable handlers_;
};

}  // namespace qrt::test
