// Programs that write more than anybody wants to hold, run through the daemon's socket.
#include <atomic>
#include <fstream>
#include <thread>

#include "protocol/Names.h"
#include "support/DaemonFixture.h"

namespace qrt {
namespace {

constexpr std::uint64_t executeUtility = 22;
constexpr int filesOfATree = 1'000, walksOfATree = 1'000;

class FloodTest : public test::DaemonFixture {
 protected:
  std::string makeTree(const std::string& name) const {
    const auto tree = scratch_.folder(name);
    for (int i = 0; i < filesOfATree - 1; ++i) std::ofstream(tree + "/" + std::to_string(i));
    return tree;
  }

  /// Has the modes of a tree listed again and again: a line for each object, a thousand times.
  static Outcome listModes(HelperConnection& connection, const std::string& tree,
                           const FeedbackHandler& handler) {
    Array arguments{"/App", "chmod", "-Rv", "u+r"};
    arguments.insert(arguments.end(), walksOfATree, tree);
    return perform(connection, executeUtility, arguments, handler);
  }

  const test::ScratchFolder scratch_{"/dev/shm"};
};

/// Counts lines, and those that do not speak of an own object.
struct LineCount {
  std::string expectedStart;
  std::string unfinished = {};
  int lines = 0;
  int strangers = 0;

  void take(const Dictionary& message) {
    const auto output = message.find(outputDataKey);
    if (output == message.end()) return;
    const auto& data = *output->second.data();
    unfinished.append(data.begin(), data.end());
    std::string_view rest = unfinished;
    for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
      ++lines;
      strangers += !rest.starts_with(expectedStart);
      rest.remove_prefix(end + 1);
    }
    unfinished = std::string(rest);
  }
};

TEST_F(FloodTest, AReaderThatStopsStopsItsOwnProgramOnlyAndNothingIsMixedLostOrKept) {
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
      LineCount count{"mode of '" + tree};
      const auto connection = connect();
      EXPECT_EQ(listModes(*connection, tree,
                          [&](const Dictionary& message) {
                            count.take(message);
                            most = std::max(most.load(), daemon_->memory());
                          }),
                success);
      EXPECT_EQ(count.lines, filesOfATree * walksOfATree);
      EXPECT_EQ(count.strangers, 0);
      EXPECT_EQ(count.unfinished, "");
    });
  }
  for (auto& request : requests) request.join();
  EXPECT_LT(most - before, 8 << 10) << "KiB";

  // The daemon ends when the request that was left behind has: its program went on, unheard.
  mayGoOn = true;
  mayGoOn.notify_all();
  stalled.join();
  EXPECT_EQ(daemon_->waitForEnd(), 0);
}

}  // namespace
}  // namespace qrt
