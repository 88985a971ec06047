// A test against a daemon of its own.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"
#include "support/DaemonProcess.h"

namespace qrt::test {

class DaemonFixture : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the daemon needs root";
    start();
  }

  /// Whatever was done to it, the daemon still serves, and ends with its last client.
  void TearDown() override {
    if (!daemon_ || daemon_->processID() < 0) return;
    const auto connection = connect();
    ASSERT_TRUE(connection);
    EXPECT_EQ(connection->registerClientWithPID(getpid()), success);
    EXPECT_EQ(connection->unregisterClientWithPID(getpid()), success);
    EXPECT_EQ(daemon_->waitForEnd(), 0);
  }

  /// Another daemon in place of the one there is.
  template <class... Options>
  void start(const Options&... options) {
    daemon_.reset();
    daemon_.emplace(options...);
  }

  std::unique_ptr<HelperConnection> connect() const {
    auto connection = native_.facilities().helperConnector.connect(daemon_->socketPath());
    EXPECT_TRUE(connection);
    return connection ? std::move(*connection) : nullptr;
  }

  /// Asks for an operation with a fresh authorization.
  static Outcome perform(HelperConnection& connection, std::uint64_t code, const Array& arguments,
                         const FeedbackHandler& handler = nullptr) {
    const auto form = connection.createExternalForm();
    if (!form) return form.error();
    return connection.performPrivilegedOperation(code, *form, handler, arguments);
  }

  const NativePlatform native_;
  std::optional<DaemonProcess> daemon_;
};

}  // namespace qrt::test
