// The daemon as its peers find it: the real program, real sockets, real trees.
#include <poll.h>
#include <sys/wait.h>

#include <thread>

#include "integration/linux/RawClient.h"
#include "platform/linux/wire/LargeMessageQueue.h"
#include "platform/linux/wire/ServedConnection.h"
#include "service/ClientSet.h"
#include "service/EmbeddedPropertyLists.h"
#include "support/DaemonFixture.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::RawClient;
using test::WireBytes;

constexpr std::uint64_t deleteFoldercontents = 4, signalProcess = 19, performUninstall = 9994,
                        nop = 9998;

class DaemonTest : public test::DaemonFixture {
 protected:
  RawClient client() {
    RawClient client(daemon_->socketPath());
    EXPECT_TRUE(client.send(RawClient::handshakeBytes()));
    EXPECT_TRUE(client.receiveHandshake());
    return client;
  }
  bool isServing() { return client().call("getVersionString")->arguments().string() == "1.6"; }

  /// New folders that are not empty.
  Array makeFolders(int count) {
    Array folders;
    for (int i = 0; i < count; ++i) {
      const auto folder = daemon_->folder() + "/" + std::to_string(i);
      mkdir(folder.c_str(), 0755);
      mkdir((folder + "/inside").c_str(), 0755);
      folders.emplace_back(folder);
    }
    return folders;
  }
  static bool isEmptied(const PropertyValue& folder) {
    return !test::exists(*folder.string() + "/inside");
  }

  /// The arguments of a request that announces that many endpoints for feedback.
  Data request(std::uint64_t code, std::uint32_t endpoints, const Array& paths) {
    const auto form = connect()->createExternalForm();
    return RawClient::request(code, *form, endpoints, [&](WireBytes& values) {
      for (const auto& path : paths) values.signature("s").string(*path.string());
    });
  }
};

/// What `action` returns in a process of another user.
template <class Action>
int asAnotherUser(Action action) {
  const pid_t child = fork();
  if (child == 0) _exit(setgid(12345) < 0 || setuid(12345) < 0 ? 99 : action());
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(DaemonTest, AnswersACallInThePacketThatEndsTheHandshake) {
  auto packet = RawClient::handshakeBytes();
  const auto call = RawClient::methodCall("getVersionString");
  packet.insert(packet.end(), call.begin(), call.end());
  for (int i = 0; i < 1000; ++i) {
    RawClient peer(daemon_->socketPath());
    ASSERT_TRUE(peer.send(packet));
    ASSERT_TRUE(peer.receiveHandshake()) << i;
    const auto reply = peer.receiveReply();
    ASSERT_TRUE(reply) << i;
    ASSERT_EQ(reply->arguments().string(), "1.6") << i;
  }
}

TEST_F(DaemonTest, TheExecutableCarriesBothPropertyLists) {
  EXPECT_TRUE(isServing());
  const auto image = test::contentsOf("/proc/" + std::to_string(daemon_->processID()) + "/exe");
  for (const auto list : {infoPropertyList, launchdPropertyList}) {
    EXPECT_NE(image.find(std::string(list.begin(), list.end())), std::string::npos);
  }
}

TEST_F(DaemonTest, AForgedFormIsRefused) {
  const auto connection = connect();
  auto forged = *connection->createExternalForm();
  forged[20] ^= 1;
  const auto outcome = connection->performPrivilegedOperation(nop, forged, nullptr, {});
  ASSERT_TRUE(outcome);
  EXPECT_EQ(outcome->domain, "com.vantor.error.privileged-operation");
  EXPECT_EQ(outcome->code, 87654321);
}

TEST_F(DaemonTest, MalformedMessagesDoNotAffectOtherConnections) {
  // Well framed but wrong: an error reply, and the connection stays.
  WireBytes bomb;
  bomb.u64(nop).u32(0).u32(0);
  const auto nest = [](auto& self, WireBytes& out, int left) -> void {
    out.array(1, [&](WireBytes& inner) {
      if (left > 0) self(self, inner.signature("av"), left - 1);
    });
  };
  nest(nest, bomb, 5000);
  auto peer = client();
  const std::pair<const char*, Data> wrong[] = {{"tayahav", bomb.bytes()},
                                                {"s", WireBytes().string("nonsense").bytes()},
                                                {"tayahav", request(nop, 5, {})}};
  for (const auto& [signature, body] : wrong) {
    const auto reply = peer.call("performPrivilegedOperation", signature, body);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->isError);
  }

  // Not a D-Bus message: ends that connection, and no other.
  const Data oversized{'l', 1, 0, 1, 0, 0, 0, 2, 1, 0, 0, 0, 8, 0, 0, 0}, garbage(64, 0xAA);
  auto senseless = RawClient::methodCall("getVersionString");
  std::fill(senseless.begin() + 16, senseless.end(), std::uint8_t{0xFF});
  for (const auto& bytes : {oversized, garbage, senseless}) {
    auto other = client();
    EXPECT_TRUE(other.send(bytes));
    EXPECT_TRUE(other.isClosedByPeer());
  }
  EXPECT_EQ(peer.call("getVersionString")->arguments().string(), "1.6");
}

TEST_F(DaemonTest, MalformedRegistrationsAreNotCarriedOut) {
  auto peer = client();
  ASSERT_FALSE(peer.call("registerClientWithPID", "i", WireBytes().u32(42).bytes())->isError);
  for (const auto* member : {"registerClientWithPID", "unregisterClientWithPID"}) {
    for (const std::size_t size : {0, 1, 8}) {
      const auto reply = peer.call(member, "i", Data(size));
      ASSERT_TRUE(reply) << member << " of " << size << " bytes";
      EXPECT_TRUE(reply->isError) << member << " of " << size << " bytes";
    }
  }
  // The only client: no malformed call registered 0.
  peer.send(RawClient::methodCall("unregisterClientWithPID", "i", WireBytes().u32(42).bytes()));
  EXPECT_EQ(daemon_->waitForEnd(), 0);
}

TEST_F(DaemonTest, OneUserCannotFillTheRegistry) {
  const auto root = connect();
  ASSERT_EQ(root->registerClientWithPID(getpid()), success);
  EXPECT_EQ(asAnotherUser([&] {
              const auto connection = connect();
              const int last = -static_cast<int>(ClientSet::maximumOfOneUser);
              for (int client = -1; client >= last; --client) {
                if (connection->registerClientWithPID(client)) return 1;
              }
              if (!connection->registerClientWithPID(last - 1)) return 2;
              if (connection->registerClientWithPID(last)) return 3;
              for (int client = -1; client >= last; --client) {
                if (connection->unregisterClientWithPID(client)) return 4;
              }
              return 0;
            }),
            0);
}

/// The peers die after they sent their own end of the connection, so the daemon does not see them
/// leave.
TEST_F(DaemonTest, PlacesOfDeadPeersBecomeFreeAndIdlePeersStay) {
  auto idle = client();
  const auto call = RawClient::methodCall("getVersionString", "", {}, 1);
  const auto startOf = [&](std::size_t size) { return Data(call.begin(), call.begin() + size); };
  Data moreThanIsAnswered;
  for (int i = 0; i < 1'000; ++i) {
    const auto another = RawClient::methodCall("getVersionString");
    moreThanIsAnswered.insert(moreThanIsAnswered.end(), another.begin(), another.end());
  }
  const std::pair<Data, Data> lastWords[] = {
      {{}, startOf(7)}, {{}, startOf(call.size() - 1)}, {moreThanIsAnswered, call}};
  ASSERT_EQ(asAnotherUser([&] {
              for (std::size_t i = 0; i < ConnectionQuota::maximumOfOneUser; ++i) {
                auto peer = client();
                const auto& [first, last] = lastWords[i % std::size(lastWords)];
                if (!peer.send(first) || !peer.send(last, {peer.socket()})) return 1;
              }
              return HasFailure() ? 2 : 0;
            }),
            0);

  const auto placesThatAreFree = [&] {
    std::vector<RawClient> peers;
    do {
      peers.emplace_back(daemon_->socketPath());
      peers.back().send(RawClient::handshakeBytes());
    } while (peers.back().receiveHandshake());
    return static_cast<int>(peers.size()) - 1;
  };
  ASSERT_EQ(asAnotherUser(placesThatAreFree), 0) << "they were disconnected too soon";
  std::this_thread::sleep_for(ServedConnection::stallLimit + std::chrono::seconds(5));
  EXPECT_EQ(asAnotherUser(placesThatAreFree), ConnectionQuota::maximumOfOneUser);
  ASSERT_TRUE(idle.call("getVersionString"));
}

TEST_F(DaemonTest, ClosesUnusedDescriptorsBeforeTheOperation) {
  test::SocketPair feedback, unused;
  auto peer = client();
  // No handshake comes for its feedback; the daemon waits for it.
  ASSERT_TRUE(peer.send(RawClient::methodCall("performPrivilegedOperation", "tayahav",
                                              request(deleteFoldercontents, 1, {}), 2),
                        {feedback.first.get(), unused.first.get()}));
  unused.first.reset();
  pollfd end{unused.second.get(), 0, 0};
  EXPECT_EQ(poll(&end, 1, 2'000), 1);
  EXPECT_TRUE(peer.receiveReply());
}

TEST_F(DaemonTest, AnEndpointHasTheIdentityOfItsRequestor) {
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
  start("unshare --pid --fork --kill-child");
  EXPECT_EQ(connect()->createExternalForm().error(), posixError(PosixCode::notPermitted));
  EXPECT_TRUE(isServing());
}

// Without descriptors the sanitizer cannot look at an object and reports its type as wrong.
#ifndef QRT_SANITIZED
TEST_F(DaemonTest, ServesAgainAfterRunningOutOfDescriptors) {
  start("prlimit --nofile=48");
  {
    std::vector<RawClient> peers;
    for (int i = 0; i < 40; ++i) {
      peers.emplace_back(daemon_->socketPath());
      peers.back().send(RawClient::handshakeBytes());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
  }
  // The first peers were served, the others sent away; once all have left there is room again.
  int servedInARow = 0;
  for (int attempt = 0; attempt < 100 && servedInARow < 5; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    RawClient peer(daemon_->socketPath());
    peer.send(RawClient::handshakeBytes());
    servedInARow = peer.receiveHandshake() ? servedInARow + 1 : 0;
    if (servedInARow == 0) continue;
    EXPECT_EQ(peer.call("getVersionString")->arguments().string(), "1.6");
  }
  EXPECT_EQ(servedInARow, 5);
}
#endif

TEST_F(DaemonTest, DisconnectsPeersThatDoNotFinishTheHandshake) {
  RawClient silent(daemon_->socketPath()), halfway(daemon_->socketPath());
  halfway.send(WireBytes().byte(0).raw("AUTH EXTERNAL\r\n").bytes());
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_TRUE(silent.isClosedByPeer());
  EXPECT_TRUE(halfway.isClosedByPeer());
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(8));
}

TEST_F(DaemonTest, LargeMessagesLeaveNoMemoryBehind) {
  // As values they take ten times what they take here.
  WireBytes dictionary;
  dictionary.u64(nop).u32(0).u32(0).array(1, [](WireBytes& values) {
    values.signature("a{sv}").array(8, [](WireBytes& entries) {
      for (int i = 100'000; i < 170'000; ++i) {
        entries.align(8).string(std::to_string(i)).signature("y").byte(0);
      }
    });
  });
  const auto before = daemon_->memory();
  std::vector<RawClient> peers;
  for (int i = 0; i < 4; ++i) peers.push_back(client());
  std::vector<std::thread> threads;
  for (auto& peer : peers) {
    threads.emplace_back([&] {
      const auto reply = peer.call("performPrivilegedOperation", "tayahav", dictionary.bytes());
      ASSERT_TRUE(reply);
      EXPECT_EQ(reply->outcome().second, number(PosixCode::invalidArgument));
    });
  }
  for (auto& thread : threads) thread.join();
  for (auto& peer : peers) EXPECT_TRUE(peer.call("getVersionString"));  // Done with the message.
  EXPECT_LT(daemon_->memory() - before, 16 << 10) << "KiB";
}

TEST_F(DaemonTest, LargeRequestsDoNotDelayOthers) {
  const Array large(20, std::string(LargeMessageQueue::largestWithout, 'x'));
  std::vector<RawClient> waiting;
  std::vector<test::SocketPair> feedback(4);
  for (auto& pair : feedback) {
    waiting.push_back(client());
    // No handshake comes for their feedback; the daemon waits for it.
    ASSERT_TRUE(
        waiting.back().send(RawClient::methodCall("performPrivilegedOperation", "tayahav",
                                                  request(deleteFoldercontents, 1, large), 1),
                            {pair.first.get()}));
  }
  const auto reply = client().call("performPrivilegedOperation", "tayahav", request(nop, 0, large));
  ASSERT_TRUE(reply);
  for (auto& peer : waiting) {
    pollfd answer{peer.socket(), POLLIN, 0};
    EXPECT_EQ(poll(&answer, 1, 0), 0) << "it did not wait";
  }
  for (auto& peer : waiting) EXPECT_TRUE(peer.receiveReply());
}

TEST_F(DaemonTest, ALargeRequestIsCarriedOutAfterItsConnectionEnds) {
  const auto folders = makeFolders(1);
  const auto clearing = [&](std::size_t size) {
    const Array paths{folders[0], daemon_->folder() + "/" + std::string(size, 'x')};
    return RawClient::methodCall("performPrivilegedOperation", "tayahav",
                                 request(deleteFoldercontents, 0, paths));
  };
  auto halfSent = clearing((16 << 20) - 4096);
  halfSent.resize(1 << 10);
  std::vector<RawClient> readers;
  while (readers.size() < 2) {
    readers.push_back(client());
    ASSERT_TRUE(readers.back().send(halfSent));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  {
    auto waiting = client(), incomplete = client();
    const auto whole = clearing(LargeMessageQueue::largestWithout);
    ASSERT_TRUE(waiting.send(whole));
    ASSERT_TRUE(incomplete.send(Data(whole.begin(), whole.end() - 1)));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_FALSE(isEmptied(folders[0])) << "it did not wait";
  readers.clear();
  for (int i = 0; i < 500 && !isEmptied(folders[0]); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(isEmptied(folders[0]));
}

TEST_F(DaemonTest, RefusesUnusableFeedbackEndpoints) {
  const test::SocketPair pair, another;
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  const FileDescriptor reading(pipeEnds[0]), writing(pipeEnds[1]);
  const std::pair<const char*, std::vector<int>> cases[] = {
      {"a pipe", {writing.get()}},
      {"two sockets", {pair.first.get(), another.first.get()}},
      {"no handshake comes", {pair.first.get()}}};
  auto peer = client();
  for (const auto& [name, sent] : cases) {
    const auto body = request(deleteFoldercontents, static_cast<std::uint32_t>(sent.size()),
                              {daemon_->folder() + "/nothing here"});
    const auto reply = peer.call("performPrivilegedOperation", "tayahav", body, sent);
    ASSERT_TRUE(reply) << name;
    EXPECT_EQ(reply->outcome(), std::pair(std::string("NSCocoaErrorDomain"), std::int64_t{4099}))
        << name;
  }
}

TEST_F(DaemonTest, ARequestorThatNeverReadsDelaysNothing) {
  const auto folders = makeFolders(20'000);
  const auto body = request(deleteFoldercontents, 1, folders);
  auto peer = client();
  const auto before = daemon_->memory();
  test::SocketPair pair;
  ASSERT_TRUE(peer.send(RawClient::methodCall("performPrivilegedOperation", "tayahav", body, 1),
                        {pair.first.get()}));
  pair.first.reset();
  RawClient neverReads(std::move(pair.second));
  ASSERT_TRUE(neverReads.send(RawClient::handshakeBytes()));
  const auto reply = peer.receiveReply();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->outcome().second, 0);
  EXPECT_TRUE(isEmptied(folders.front()) && isEmptied(folders.back()));
  // The request itself is about a megabyte and half as values.
  EXPECT_LT(daemon_->memory() - before, 4 << 10);
}

TEST_F(DaemonTest, EndsAfterTheOperationOfItsLastClient) {
  const auto folders = makeFolders(5'000);
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

TEST_F(DaemonTest, RemovesItselfWithoutAReplyWhenItIsTheOnlyClient) {
  const test::ScratchFolder installation;
  const auto program = installation.file("program"), job = installation.file("job"),
             called = installation.path("called"),
             tool = installation.file("tool", "#!/bin/sh\necho \"$@\" >> " + called + "\n");
  chmod(tool.c_str(), 0755);
  start("unshare --mount sh -c 'mount --bind " + tool +
        " /bin/systemctl; mount -t tmpfs none /usr/share/polkit-1; exec \"$@\"' -");
  const auto connection = connect();
  const auto uninstall = [&] {
    return perform(*connection, performUninstall, {getpid(), program, job});
  };
  const pid_t other = fork();
  if (other == 0) _exit(pause());
  ASSERT_EQ(connection->registerClientWithPID(getpid()), success);
  ASSERT_EQ(connection->registerClientWithPID(other), success);
  EXPECT_EQ(uninstall(), posixError(PosixCode::busy));
  EXPECT_TRUE(test::exists(program) && test::exists(job) && !test::exists(called));

  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
  EXPECT_EQ(codeOf(uninstall()), 4097) << "there was a reply";
  EXPECT_EQ(daemon_->waitForEnd(), 0);
  EXPECT_FALSE(test::exists(program) || test::exists(job));
  EXPECT_EQ(test::contentsOf(called),
            "stop com.vantor.system.privilegedhelper-vk2.socket\n"
            "disable com.vantor.system.privilegedhelper-vk2.socket\n");
}

}  // namespace
}  // namespace qrt
