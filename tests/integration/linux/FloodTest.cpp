// Programs that write more than memory can hold, run through the daemon's socket.
#include <atomic>
#include <thread>

#include "protocol/Names.h"
#include "support/DaemonFixture.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

constexpr std::uint64_t executeUtility = 22;
constexpr int filesOfATree = 1'000, walksOfATree = 1'000;

class FloodTest : public test::DaemonFixture {
 protected:
  std::string makeTree(const std::string& name) const {
    scratch_.make("mkdir " + name + "; cd " + name + "; seq " + std::to_string(filesOfATree) +
                  " | xargs touch");
    return scratch_.path(name);
  }

  /// Lists the modes of a tree a thousand times, with a line for each object.
  static Outcome listModes(HelperConnection& connection, const std::string& tree,
                           const FeedbackHandler& handler) {
    Array arguments{"/App", "chmod", "-Rv", "u+r"};
    arguments.insert(arguments.end(), walksOfATree, tree);
    return perform(connection, executeUtility, arguments, handler);
  }

 private:
  const test::ScratchFolder scratch_{"/dev/shm"};
};

/// Output that must repeat one text.
struct RepeatedText {
  const std::string text;
  std::size_t taken = 0;
  bool isRight = true;

  void take(const Dictionary& message) {
    const auto output = message.find(outputDataKey);
    if (output == message.end()) return;
    for (const auto byte : *output->second.data()) {
      isRight = isRight && byte == static_cast<std::uint8_t>(text[taken % text.size()]);
      ++taken;
    }
  }
};

TEST_F(FloodTest, AStalledReaderStopsOnlyItsProgramAndOthersGetAllOutput) {
  const auto stalledTree = makeTree("stalled");
  std::atomic<bool> hasStalled = false, mayGoOn = false;
  std::thread stalled([&] {
    const auto connection = connect();
    EXPECT_EQ(listModes(*connection, stalledTree,
                        [&](const Dictionary&) {
                          hasStalled = true;
                          hasStalled.notify_all();
                          mayGoOn.wait(false);
                          connection->interrupt();
                        }),
              posixError(PosixCode::interrupted));
    connection->unregisterClientWithPIDLater(getpid());
  });
  EXPECT_EQ(connect()->registerClientWithPID(getpid()), success);
  hasStalled.wait(false);

  const auto before = daemon_->memory();
  std::atomic<long> most = before;
  std::vector<std::thread> requests;
  for (const char* name : {"one", "two"}) {
    requests.emplace_back([&, tree = makeTree(name)] {
      RepeatedText walks{test::printed("LC_ALL=C chmod -Rv u+r " + tree)};
      const auto connection = connect();
      EXPECT_EQ(listModes(*connection, tree,
                          [&](const Dictionary& message) {
                            walks.take(message);
                            most = std::max(most.load(), daemon_->memory());
                          }),
                success);
      EXPECT_EQ(walks.taken, walksOfATree * walks.text.size());
      EXPECT_TRUE(walks.isRight);
    });
  }
  for (auto& request : requests) request.join();
  EXPECT_LT(most - before, 8 << 10) << "KiB";

  // The daemon ends after the abandoned request, whose program continued without a reader.
  mayGoOn = true;
  mayGoOn.notify_all();
  stalled.join();
  EXPECT_EQ(daemon_->waitForEnd(), 0);
}

}  // namespace
}  // namespace qrt
