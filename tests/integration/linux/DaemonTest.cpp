// The daemon as its peers find it: the real program, real sockets, real trees.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "integration/linux/RawClient.h"
#include "operations/OperationCatalogue.h"
#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"
#include "platform/linux/ConnectionQuota.h"
#include "protocol/FeedbackMessage.h"
#include "support/DaemonProcess.h"
#include "support/Instrumented.h"

namespace qrt {
namespace {

using test::RawClient;
using test::requestBody;
using test::WireBytes;

constexpr std::uint64_t deleteFoldercontents = 4, signalProcess = 19;

class DaemonTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the daemon needs root";
    daemon_.emplace();
  }

  RawClient client() {
    RawClient client(daemon_->socketPath());
    EXPECT_TRUE(client.send(RawClient::handshakeBytes()));
    EXPECT_TRUE(client.receiveHandshake());
    return client;
  }

  std::unique_ptr<HelperConnection> connect() {
    auto connection = native_.facilities().helperConnector.connect(daemon_->socketPath());
    return connection ? std::move(*connection) : nullptr;
  }

  /// Resident memory of the daemon in KiB.
  long memory() const {
    std::ifstream status("/proc/" + std::to_string(daemon_->processID()) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
    }
    return 0;
  }

  NativePlatform native_;
  std::optional<test::DaemonProcess> daemon_;
};

const auto noArguments = [](WireBytes&) {};

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
  auto peer = client();
  const auto form = peer.externalForm();
  ASSERT_EQ(form.size(), 32u);
  auto forged = form;
  forged[20] ^= 1;
  const std::vector<std::uint8_t> shortForm(form.begin(), form.begin() + 31);

  struct Case {
    const char* name;
    std::vector<std::uint8_t> body;
    const char* domain;
    std::int64_t code;
  };
  const auto number = [](WireBytes& a, std::uint64_t value) { a.signature("t").u64(value); };
  const Case cases[] = {
      {"unknown code", requestBody(12345, form, {}, noArguments), "NSPOSIXErrorDomain", 22},
      {"31-byte authorization", requestBody(9998, shortForm, {}, noArguments), "NSPOSIXErrorDomain",
       22},
      {"forged authorization", requestBody(9998, forged, {}, noArguments),
       "com.vantor.error.privileged-operation", 87654321},
      {"wrong count", requestBody(signalProcess, form, {}, [&](WireBytes& a) { number(a, 1); }),
       "NSPOSIXErrorDomain", 22},
      {"wrong class at 0",
       requestBody(signalProcess, form, {},
                   [&](WireBytes& a) {
                     a.signature("s").string("1");
                     number(a, 0);
                   }),
       "NSPOSIXErrorDomain", 22},
      {"wrong class at 1",
       requestBody(signalProcess, form, {},
                   [&](WireBytes& a) {
                     number(a, 1);
                     a.signature("ay").array(1, [](WireBytes& data) { data.byte(1); });
                   }),
       "NSPOSIXErrorDomain", 22},
      {"marker without dictionary",
       requestBody(signalProcess, form, {},
                   [&](WireBytes& a) {
                     a.signature("s").string("!QRTMETA!").signature("s").string("x");
                     number(a, 1);
                     number(a, 2);
                   }),
       "NSPOSIXErrorDomain", 22},
      {"no arguments for a folder list", requestBody(deleteFoldercontents, form, {}, noArguments),
       "NSPOSIXErrorDomain", 22},
      {"an operation without effect", requestBody(9995, form, {}, noArguments),
       "NSPOSIXErrorDomain", 78},
  };
  for (const auto& c : cases) {
    const auto reply = peer.call("performPrivilegedOperation", "tayahav", c.body);
    ASSERT_TRUE(reply) << c.name;
    EXPECT_EQ(reply->outcome(), (std::pair<std::string, std::int64_t>(c.domain, c.code))) << c.name;
  }

  // Well framed but wrong: an error of the wire, and the connection lives on.
  WireBytes bomb;
  bomb.u64(9998).u32(0).u32(0);
  const auto nest = [](auto& self, WireBytes& out, int left) -> void {
    out.array(1, [&](WireBytes& inner) {
      if (left > 0) self(self, inner.signature("av"), left - 1);
    });
  };
  nest(nest, bomb, 5000);
  const std::pair<const char*, std::vector<std::uint8_t>> wrong[] = {
      {"tayahav", bomb.bytes()},
      {"s", WireBytes().string("nonsense").bytes()},
      {"tayahav", requestBody(9998, form, {5}, noArguments)}};
  for (const auto& [signature, body] : wrong) {
    const auto reply = peer.call("performPrivilegedOperation", signature, body);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->isError);
  }
  EXPECT_EQ(peer.call("getVersionString")->arguments().string(), "1.6");

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
  const pid_t child = fork();
  if (child == 0) {
    // In a process of another user; gtest's verdict belongs to the parent.
    if (setgid(12345) < 0 || setuid(12345) < 0) _exit(2);
    auto connection = connect();
    auto another = connection ? connection->connectWithEndpoint()
                              : Result<std::unique_ptr<HelperConnection>>(Error{});
    if (!another) _exit(3);
    const auto form = (*another)->createExternalForm();
    if (!form || *form != *connection->createExternalForm()) _exit(4);
    std::uint32_t user = 0;
    std::memcpy(&user, form->data() + 1, sizeof user);
    const auto refused = (*another)->performPrivilegedOperation(
        signalProcess, *form, nullptr, {static_cast<std::int64_t>(getppid()), 0});
    _exit(user == 12345 && codeOf(refused) == 1 ? 0 : 5);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(DaemonTest, OneUserCannotTakeEveryPlace) {
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(12345) < 0 || setuid(12345) < 0) _exit(2);
    std::vector<RawClient> mine;
    for (std::size_t i = 0; i < ConnectionQuota::maximumOfOneUser; ++i) {
      mine.emplace_back(daemon_->socketPath());
      if (!mine.back().send(RawClient::handshakeBytes()) || !mine.back().receiveHandshake()) {
        _exit(3);
      }
    }
    // Endpoints count as well.
    const auto reply = mine.front().call("connectWithEndpoint");
    if (!reply || !reply->isError) _exit(4);
    RawClient oneTooMany(daemon_->socketPath());
    oneTooMany.send(RawClient::handshakeBytes());
    _exit(oneTooMany.receiveHandshake() ? 5 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(client().call("getVersionString")->arguments().string(), "1.6");
}

TEST_F(DaemonTest, APeerWithoutAProcessNumberGetsNoForm) {
  daemon_.reset();
  daemon_.emplace(test::DaemonProcess::Options{.isInPidNamespaceOfItsOwn = true});
  auto peer = client();
  const auto reply = peer.call("createExternalForm", "", {}, RawClient::authorityInterface);
  ASSERT_TRUE(reply);
  EXPECT_TRUE(reply->isError);
  EXPECT_EQ(peer.call("getVersionString")->arguments().string(), "1.6");
  EXPECT_EQ(connect()->createExternalForm().error(), posixError(PosixCode::notPermitted));
}

TEST_F(DaemonTest, RunningOutOfDescriptorsPasses) {
  daemon_.reset();
  daemon_.emplace(test::DaemonProcess::Options{.descriptorLimit = 48});
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
  const auto before = memory();
  std::vector<RawClient> peers;
  for (int i = 0; i < 16; ++i) {
    peers.push_back(client());
    // 15 MiB announced, a few bytes sent.
    const std::vector<std::uint8_t> header{'l', 1, 0, 1, 0, 0, 0xF0, 0, 1, 0, 0, 0, 8, 0, 0, 0, 0};
    ASSERT_TRUE(peers.back().send(header));
  }
  EXPECT_EQ(client().call("getVersionString")->arguments().string(), "1.6");
  EXPECT_TRUE(test::isInstrumented || memory() - before < 8 << 10) << memory() - before;
}

TEST_F(DaemonTest, EndsWithItsLastClient) {
  auto connection = connect();
  ASSERT_TRUE(connection);
  EXPECT_EQ(connection->registerClientWithPID(getpid()), success);
  EXPECT_EQ(connection->registerClientWithPID(1), success);
  EXPECT_EQ(connection->unregisterClientWithPID(1), success);
  EXPECT_EQ(*connection->getVersionString(), "1.6");
  EXPECT_EQ(connection->unregisterClientWithPID(getpid()), success);
  EXPECT_EQ(daemon_->waitForEnd(), 0);
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

/// `count` folders with a file each below a new folder.
std::string makeFolders(const test::DaemonProcess& daemon, const std::string& name, int count) {
  const auto base = daemon.folder() + "/" + name;
  mkdir(base.c_str(), 0755);
  for (int i = 0; i < count; ++i) {
    const auto folder = base + "/" + std::to_string(i);
    mkdir(folder.c_str(), 0755);
    std::ofstream(folder + "/file");
  }
  return base;
}

TEST_F(DaemonTest, ARequestorThatNeverReadsHoldsUpNothing) {
  const auto base = makeFolders(*daemon_, "tree", 20'000);
  Array folders;
  for (int i = 0; i < 20'000; ++i) folders.emplace_back(base + "/" + std::to_string(i));
  auto peer = client();
  const auto form = peer.externalForm();
  const auto before = memory();
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
  EXPECT_EQ(access((base + "/0/file").c_str(), F_OK), -1);
  EXPECT_EQ(access((base + "/19999/file").c_str(), F_OK), -1);
  // The request itself is about a megabyte and half as values.
  EXPECT_TRUE(test::isInstrumented || memory() - before < 4 << 10) << memory() - before;
}

TEST_F(DaemonTest, EndsWithTheOperationThatItsLastClientLeftBehind) {
  const auto base = makeFolders(*daemon_, "tree", 5'000);
  Array folders;
  for (int i = 0; i < 5'000; ++i) folders.emplace_back(base + "/" + std::to_string(i));
  auto connection = connect();
  ASSERT_EQ(connection->registerClientWithPID(getpid()), success);
  const auto form = connection->createExternalForm();
  const auto outcome = connection->performPrivilegedOperation(
      deleteFoldercontents, *form, [&](const Dictionary&) { connection->interrupt(); }, folders);
  EXPECT_EQ(outcome, posixError(PosixCode::interrupted));
  connection->unregisterClientWithPIDLater(getpid());
  connection.reset();
  EXPECT_EQ(access((base + "/4999/file").c_str(), F_OK), 0) << "it was over too soon";
  EXPECT_EQ(daemon_->waitForEnd(), 0);
  EXPECT_EQ(access((base + "/4999/file").c_str(), F_OK), -1);
}

TEST_F(DaemonTest, OperationsAtTheSameTimeKeepTheirFeedbackApart) {
  constexpr int folders = 200;
  std::vector<std::thread> clients;
  std::atomic<int> right{0};
  for (int which = 0; which < 4; ++which) {
    const auto base = makeFolders(*daemon_, "tree" + std::to_string(which), folders + which);
    clients.emplace_back([&, which, base] {
      auto connection = connect();
      const auto form = connection->createExternalForm();
      Array arguments;
      for (int i = 0; i < folders + which; ++i)
        arguments.emplace_back(base + "/" + std::to_string(i));
      std::vector<Dictionary> received;
      const auto outcome = connection->performPrivilegedOperation(
          deleteFoldercontents, *form,
          [&](const Dictionary& message) { received.push_back(message); }, arguments);
      std::vector<Dictionary> expected{progressMessage(0)};
      for (int i = 0; i < folders + which; ++i) {
        expected.push_back(progressMessage(static_cast<double>(i) / (folders + which)));
      }
      expected.push_back(progressMessage(1));
      expected.push_back(finalMessage());
      if (!outcome && received == expected) ++right;
    });
  }
  for (auto& thread : clients) thread.join();
  EXPECT_EQ(right, 4);
}

}  // namespace
}  // namespace qrt
