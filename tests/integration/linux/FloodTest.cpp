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
  long most = before;
  std::string output;
  const auto tree = makeTree("other"), walk = test::printed("LC_ALL=C chmod -Rv u+r " + tree);
  EXPECT_EQ(listModes(*connect(), tree,
                      [&](const Dictionary& message) {
                        if (const auto found = message.find(outputDataKey);
                            found != message.end()) {
                          const auto& piece = *found->second.data();
                          output.append(piece.begin(), piece.end());
                        }
                        most = std::max(most, daemon_->memory());
                      }),
            success);
  EXPECT_EQ(output.size(), walksOfATree * walk.size());
  for (std::size_t at = 0; at < output.size(); at += walk.size()) {
    ASSERT_EQ(output.compare(at, walk.size(), walk), 0);
  }
  EXPECT_LT(most - before, 8 << 10) << "KiB";

  // The daemon ends after the abandoned request, whose program continued without a reader.
  mayGoOn = true;
  mayGoOn.notify_all();
  stalled.join();
  EXPECT_EQ(daemon_->waitForEnd(), 0);
}

}  // namespace
}  // namespace qrt
