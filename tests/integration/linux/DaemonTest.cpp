// The daemon as its peers find it: the real program, real sockets, real trees.
#include <sys/wait.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "integration/linux/RawClient.h"
#include "operations/OperationCatalogue.h"
#include "platform/linux/ConnectionQuota.h"
#include "protocol/FeedbackMessage.h"
#include "support/DaemonFixture.h"
#include "support/Instrumented.h"

namespace qrt {
namespace {

using test::RawClient;
using test::requestBody;
using test::WireBytes;

constexpr std::uint64_t deleteFoldercontents = 4, signalProcess = 19;

class DaemonTest : public test::DaemonFixture {
 protected:
  RawClient client() {
    RawClient client(daemon_->socketPath());
    EXPECT_TRUE(client.send(RawClient::handshakeBytes()));
    EXPECT_TRUE(client.receiveHandshake());
    return client;
  }
  bool isServing() { return client().call("getVersionString")->arguments().string() == "1.6"; }

  /// `count` folders with a file each below a new folder.
  Array makeFolders(const std::string& name, int count) {
    const auto base = daemon_->folder() + "/" + name;
    mkdir(base.c_str(), 0755);
    Array folders;
    for (int i = 0; i < count; ++i) {
      const auto folder = base + "/" + std::to_string(i);
      mkdir(folder.c_str(), 0755);
      std::ofstream(folder + "/file");
      folders.emplace_back(folder);
    }
    return folders;
  }
  static bool isEmptied(const PropertyValue& folder) {
    return access((*folder.string() + "/file").c_str(), F_OK) != 0;
  }
};

/// What `action` answers in a process of another user.
template <class Action>
int asAnotherUser(Action action) {
  const pid_t child = fork();
  if (child == 0) _exit(setgid(12345) < 0 || setuid(12345) < 0 ? 99 : action());
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(DaemonTest, AFirstCallInThePacketOfBeginIsAlwaysAnswered) {
  const auto packet = [] {
    auto bytes = RawClient::handshakeBytes();
    const auto call = test::methodCall(RawClient::helperInterface, "getVersionString", "", {});
    bytes.append(call.begin(), call.end());
    return bytes;
  }();
  for (int i = 0; i < 1000; ++i) {
    RawClient peer(daemon_->socketPath());
    ASSERT_TRUE(peer.send(packet));
    ASSERT_TRUE(peer.receiveHandshake()) << i;
    const auto reply = peer.receiveReply();
    ASSERT_TRUE(reply) << i;
    ASSERT_EQ(reply->arguments().string(), "1.6") << i;
  }
}

TEST_F(DaemonTest, BadRequestsAreAnsweredAndServiceGoesOn) {
  const auto connection = connect();
  const auto form = *connection->createExternalForm();
  auto forged = form;
  forged[20] ^= 1;
  const Data shortForm(form.begin(), form.begin() + 31);
  constexpr auto* posix = "NSPOSIXErrorDomain";
  const struct {
    const char* name;
    std::uint64_t code;
    Data form;
    Array arguments;
    std::string domain;
    std::int64_t error;
  } cases[] = {
      {"unknown code", 12345, form, {}, posix, 22},
      {"31-byte authorization", 9998, shortForm, {}, posix, 22},
      {"forged authorization", 9998, forged, {}, "com.vantor.error.privileged-operation", 87654321},
      {"wrong count", signalProcess, form, {1}, posix, 22},
      {"wrong class", signalProcess, form, {1, Data{1}}, posix, 22},
      {"marker without dictionary", signalProcess, form, {"!QRTMETA!", "x", 1, 2}, posix, 22},
      {"no arguments for a folder list", deleteFoldercontents, form, {}, posix, 22},
      {"an operation without effect", 9995, form, {}, posix, 78},
  };
  for (const auto& c : cases) {
    const auto outcome =
        connection->performPrivilegedOperation(c.code, c.form, nullptr, c.arguments);
    ASSERT_TRUE(outcome) << c.name;
    EXPECT_EQ(outcome->domain, c.domain) << c.name;
    EXPECT_EQ(outcome->code, c.error) << c.name;
  }
}

TEST_F(DaemonTest, MalformedMessagesHurtNobodyElse) {
  // Well framed but wrong: an error of the wire, and the connection lives on.
  WireBytes bomb;
  bomb.u64(9998).u32(0).u32(0);
  const auto nest = [](auto& self, WireBytes& out, int left) -> void {
    out.array(1, [&](WireBytes& inner) {
      if (left > 0) self(self, inner.signature("av"), left - 1);
    });
  };
  nest(nest, bomb, 5000);
  auto peer = client();
  const std::pair<const char*, std::vector<std::uint8_t>> wrong[] = {
      {"tayahav", bomb.bytes()},
      {"s", WireBytes().string("nonsense").bytes()},
      {"tayahav", requestBody(9998, peer.externalForm(), {5}, [](WireBytes&) {})}};
  for (const auto& [signature, body] : wrong) {
    const auto reply = peer.call("performPrivilegedOperation", signature, body);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->isError);
  }

  // No D-Bus message: the end of that connection, and of no other.
  const std::vector<std::uint8_t> oversized{'l', 1, 0, 1, 0, 0, 0, 2, 1, 0, 0, 0, 8, 0, 0, 0};
  const std::vector<std::uint8_t> garbage(64, 0xAA);
  auto senseless = test::methodCall(RawClient::helperInterface, "getVersionString", "", {});
  std::fill(senseless.begin() + 16, senseless.end(), std::uint8_t{0xFF});
  for (const auto& bytes : {oversized, garbage, senseless}) {
    auto other = client();
    EXPECT_TRUE(other.send(bytes));
    EXPECT_TRUE(other.isClosedByPeer());
  }
  EXPECT_EQ(peer.call("getVersionString")->arguments().string(), "1.6");
}

TEST_F(DaemonTest, AnEndpointCarriesTheIdentityOfWhoeverAskedForIt) {
  EXPECT_EQ(asAnotherUser([&] {
              const auto connection = connect();
              const auto another = connection->connectWithEndpoint();
              if (!another) return 1;
              const auto form = (*another)->createExternalForm();
              if (!form || *form != *connection->createExternalForm()) return 2;
              std::uint32_t user = 0;
              std::memcpy(&user, form->data() + 1, sizeof user);
              const auto refused = perform(**another, signalProcess, {getppid(), 0});
              return user == 12345 && codeOf(refused) == 1 ? 0 : 3;
            }),
            0);
}

TEST_F(DaemonTest, OneUserCannotTakeEveryPlace) {
  EXPECT_EQ(asAnotherUser([&] {
              std::vector<RawClient> mine;
              while (mine.size() < ConnectionQuota::maximumOfOneUser) mine.push_back(client());
              // Endpoints count as well.
              const auto reply = mine.front().call("connectWithEndpoint");
              if (!reply || !reply->isError) return 1;
              RawClient oneTooMany(daemon_->socketPath());
              oneTooMany.send(RawClient::handshakeBytes());
              return oneTooMany.receiveHandshake() || HasFailure() ? 2 : 0;
            }),
            0);
  EXPECT_TRUE(isServing());
}

TEST_F(DaemonTest, APeerWithoutAProcessNumberGetsNoForm) {
  start({.isInPidNamespaceOfItsOwn = true});
  EXPECT_EQ(connect()->createExternalForm().error(), posixError(PosixCode::notPermitted));
  EXPECT_TRUE(isServing());
}

TEST_F(DaemonTest, RunningOutOfDescriptorsPasses) {
  start({.descriptorLimit = 48});
  {
    std::vector<RawClient> peers;
    for (int i = 0; i < 40; ++i) {
      peers.emplace_back(daemon_->socketPath());
      peers.back().send(RawClient::handshakeBytes());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
  }
  // The first peers were served, the others sent away; now there is room again.
  for (int attempt = 0; attempt < 50; ++attempt) {
    RawClient peer(daemon_->socketPath());
    peer.send(RawClient::handshakeBytes());
    if (!peer.receiveHandshake()) continue;
    EXPECT_EQ(peer.call("getVersionString")->arguments().string(), "1.6");
    return;
  }
  FAIL() << "nobody is served any more";
}

TEST_F(DaemonTest, SilentAndSlowPeersAreLetGo) {
  RawClient silent(daemon_->socketPath());
  RawClient halfway(daemon_->socketPath());
  halfway.send(std::string("\0AUTH EXTERNAL\r\n", 16));
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_TRUE(silent.isClosedByPeer());
  EXPECT_TRUE(halfway.isClosedByPeer());
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(8));
}

TEST_F(DaemonTest, AnnouncedBytesThatNeverComeCostNothing) {
  const auto before = daemon_->memory();
  std::vector<RawClient> peers;
  for (int i = 0; i < 16; ++i) {
    peers.push_back(client());
    // 15 MiB announced, a few bytes sent.
    const std::vector<std::uint8_t> header{'l', 1, 0, 1, 0, 0, 0xF0, 0, 1, 0, 0, 0, 8, 0, 0, 0, 0};
    ASSERT_TRUE(peers.back().send(header));
  }
  EXPECT_TRUE(isServing());
  const auto taken = daemon_->memory() - before;
  EXPECT_TRUE(test::isInstrumented || taken < 8 << 10) << taken;
}

TEST_F(DaemonTest, RefusesFeedbackEndpointsThatAreNone) {
  auto peer = client();
  const auto form = peer.externalForm();
  const test::SocketPair pair, another;
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  const FileDescriptor reading(pipeEnds[0]), writing(pipeEnds[1]);
  const auto folder = [&](WireBytes& a) {
    a.signature("s").string(daemon_->folder() + "/nothing here");
  };
  const auto outcome = [&](const std::vector<int>& sent) {
    std::vector<std::uint32_t> indexes;
    for (std::uint32_t i = 0; i < sent.size(); ++i) indexes.push_back(i);
    auto body = requestBody(deleteFoldercontents, form, indexes, folder);
    auto call =
        test::methodCallWithDescriptors(RawClient::helperInterface, "performPrivilegedOperation",
                                        "tayahav", body, static_cast<std::uint32_t>(sent.size()));
    EXPECT_TRUE(peer.sendWithDescriptors(call, sent));
    const auto reply = peer.receiveReply();
    return reply ? reply->outcome() : std::pair<std::string, std::int64_t>{};
  };
  const std::pair<std::string, std::int64_t> refused{"NSCocoaErrorDomain", 4099};
  EXPECT_EQ(outcome({writing.get()}), refused) << "a pipe";
  EXPECT_EQ(outcome({pair.first.get(), another.first.get()}), refused) << "two sockets";
  EXPECT_EQ(outcome({pair.first.get()}), refused) << "nobody shakes hands";
}

TEST_F(DaemonTest, ARequestorThatNeverReadsHoldsUpNothing) {
  const auto folders = makeFolders("tree", 20'000);
  auto peer = client();
  const auto form = peer.externalForm();
  const auto before = daemon_->memory();
  test::SocketPair pair;
  auto body = requestBody(deleteFoldercontents, form, {0}, [&](WireBytes& a) {
    for (const auto& folder : folders) a.signature("s").string(*folder.string());
  });
  ASSERT_TRUE(peer.sendWithDescriptors(
      test::methodCallWithDescriptors(RawClient::helperInterface, "performPrivilegedOperation",
                                      "tayahav", {}, 1, body.size()),
      {pair.first.get()}));
  pair.first.reset();
  ASSERT_TRUE(peer.send(body));
  RawClient neverReads(std::move(pair.second));
  ASSERT_TRUE(neverReads.send(RawClient::handshakeBytes()));
  const auto reply = peer.receiveReply();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->outcome().second, 0);
  EXPECT_TRUE(isEmptied(folders.front()) && isEmptied(folders.back()));
  // The request itself is about a megabyte and half as values.
  const auto taken = daemon_->memory() - before;
  EXPECT_TRUE(test::isInstrumented || taken < 4 << 10) << taken;
}

TEST_F(DaemonTest, EndsWithTheOperationThatItsLastClientLeftBehind) {
  const auto folders = makeFolders("tree", 5'000);
  auto connection = connect();
  ASSERT_EQ(connection->registerClientWithPID(getpid()), success);
  EXPECT_EQ(perform(*connection, deleteFoldercontents, folders,
                    [&](const Dictionary&) { connection->interrupt(); }),
            posixError(PosixCode::interrupted));
  connection->unregisterClientWithPIDLater(getpid());
  connection.reset();
  EXPECT_FALSE(isEmptied(folders.back())) << "it was over too soon";
  EXPECT_EQ(daemon_->waitForEnd(), 0);
  EXPECT_TRUE(isEmptied(folders.back()));
}

TEST_F(DaemonTest, OperationsAtTheSameTimeKeepTheirFeedbackApart) {
  std::vector<std::thread> clients;
  std::atomic<int> right{0};
  for (int which = 0; which < 4; ++which) {
    clients.emplace_back([this, &right,
                          folders = makeFolders("tree" + std::to_string(which), 200 + which)] {
      std::vector<Dictionary> received, expected{progressMessage(0)};
      const auto outcome = perform(*connect(), deleteFoldercontents, folders,
                                   [&](const Dictionary& message) { received.push_back(message); });
      const auto count = static_cast<double>(folders.size());
      for (int i = 0; i <= count; ++i) expected.push_back(progressMessage(i / count));
      expected.push_back(finalMessage());
      if (!outcome && received == expected) ++right;
    });
  }
  for (auto& thread : clients) thread.join();
  EXPECT_EQ(right, 4);
}

}  // namespace
}  // namespace qrt
