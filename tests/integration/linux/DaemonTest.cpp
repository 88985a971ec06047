// The daemon as its peers find it: the real program, real sockets, real trees.
#include <poll.h>
#include <sys/wait.h>

#include <thread>

#include "integration/linux/RawClient.h"
#include "platform/linux/wire/ServedConnection.h"
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

  /// A request that announces that many endpoints for feedback, in a message with `descriptors`.
  Data request(std::uint64_t code, const Array& paths, std::uint32_t endpoints = 0,
               std::size_t descriptors = 0) {
    const auto form = connect()->createExternalForm();
    const auto body = RawClient::request(code, *form, endpoints, [&](WireBytes& values) {
      for (const auto& value : paths) {
        if (value.string()) values.signature("s").string(*value.string());
        if (value.number()) values.signature("t").u64(value.number()->asUInt64());
      }
    });
    return RawClient::methodCall("performPrivilegedOperation", "tayahav", body, descriptors);
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

/// Well framed but wrong: an error reply, and the connection stays.
TEST_F(DaemonTest, AMalformedCallIsAnErrorAndIsNotCarriedOut) {
  WireBytes nested;
  nested.u64(nop).u32(0).u32(0);
  const auto nest = [](auto& self, WireBytes& out, int left) -> void {
    out.array(1, [&](WireBytes& inner) {
      if (left > 0) self(self, inner.signature("av"), left - 1);
    });
  };
  nest(nest, nested, 5000);
  const auto request = [](const std::vector<std::uint32_t>& endpoints) {
    const auto write = [&](WireBytes& indexes) {
      for (const auto index : endpoints) indexes.u32(index);
    };
    return WireBytes().u64(nop).u32(0).array(4, write).u32(0).bytes();
  };
  const auto client42 = WireBytes().u32(42).bytes();
  const std::tuple<const char*, const char*, Data> calls[] = {
      {"performPrivilegedOperation", "tayahav", nested.bytes()},
      {"performPrivilegedOperation", "s", WireBytes().string("nonsense").bytes()},
      {"performPrivilegedOperation", "tayahav", request({0, 0})},
      {"performPrivilegedOperation", "tayahav", request({1})},
      {"registerClientWithPID", "i", Data(0)},
      {"registerClientWithPID", "i", Data(1)},
      {"registerClientWithPID", "i", Data(8)},
      {"unregisterClientWithPID", "i", Data(8)}};
  auto peer = client();
  ASSERT_FALSE(peer.call("registerClientWithPID", "i", client42)->isError);
  for (const auto& [member, signature, body] : calls) {
    const auto reply = peer.call(member, signature, body, {STDERR_FILENO});
    ASSERT_TRUE(reply) << member << " of " << body.size() << " bytes";
    EXPECT_TRUE(reply->isError) << member << " of " << body.size() << " bytes";
  }
  // The only client: no malformed call registered 0.
  peer.send(RawClient::methodCall("unregisterClientWithPID", "i", client42));
  EXPECT_EQ(daemon_->waitForEnd(), 0);
}

/// The peers die after they sent their own end of the connection, so the daemon does not see them
/// leave.
TEST_F(DaemonTest, PlacesOfDeadPeersBecomeFreeAndIdlePeersStay) {
  auto idle = client();
  const auto call = RawClient::methodCall("getVersionString", "", {}, 1);
  Data moreThanIsAnswered;
  for (int i = 0; i < 1'000; ++i) {
    const auto another = RawClient::methodCall("getVersionString");
    moreThanIsAnswered.insert(moreThanIsAnswered.end(), another.begin(), another.end());
  }
  const std::pair<Data, Data> lastWords[] = {{{}, Data(call.begin(), call.begin() + 7)},
                                             {{}, Data(call.begin(), call.end() - 1)},
                                             {moreThanIsAnswered, call}};
  const auto diesAfterTakingAllPlaces = [&] {
    for (std::size_t i = 0; i < ConnectionQuota::maximumOfOneUser; ++i) {
      auto peer = client();
      const auto& [first, last] = lastWords[i % std::size(lastWords)];
      if (!peer.send(first) || !peer.send(last, {peer.socket()})) return 1;
    }
    return HasFailure() ? 2 : 0;
  };
  ASSERT_EQ(asAnotherUser(diesAfterTakingAllPlaces), 0);
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

TEST_F(DaemonTest, AnEndpointHasTheIdentityOfItsRequestor) {
  EXPECT_EQ(asAnotherUser([&] {
              const auto another = std::move(*connect()->connectWithEndpoint());
              auto form = another->createExternalForm().value();
              std::uint32_t user = 0;
              std::memcpy(&user, form.data() + 1, sizeof user);
              const auto refused = perform(*another, signalProcess, {getppid(), 0});
              if (user != 12345 || codeOf(refused) != 1) return 1;
              form[1] ^= 1;  // Claims to be of another user.
              const auto forged = another->performPrivilegedOperation(nop, form, nullptr, {});
              return codeOf(forged) == 87654321 ? 0 : 2;
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
  std::vector<RawClient> ofRoot;
  while (ofRoot.size() <= ConnectionQuota::maximumOfOneUser) ofRoot.push_back(client());
}

TEST_F(DaemonTest, APeerWithoutAProcessNumberGetsNoForm) {
  start("unshare --pid --fork --kill-child");
  EXPECT_EQ(connect()->createExternalForm().error(), posixError(PosixCode::notPermitted));
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
    const bool isServed = peer.receiveHandshake() && peer.call("getVersionString");
    servedInARow = isServed ? servedInARow + 1 : 0;
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

TEST_F(DaemonTest, RefusesUnusableFeedbackEndpointsAndClosesUnusedDescriptors) {
  test::SocketPair good, silent, unused;
  RawClient receiver(std::move(good.second));
  ASSERT_TRUE(receiver.send(RawClient::handshakeBytes()));
  const FileDescriptor file(open("/dev/null", O_RDWR | O_CLOEXEC));
  const std::pair<std::uint32_t, std::vector<int>> cases[] = {
      {1, {file.get()}},
      {2, {good.first.get(), silent.first.get()}},
      {1, {silent.first.get(), unused.first.get()}}};
  auto peer = client();
  for (const auto& [endpoints, sent] : cases) {
    ASSERT_TRUE(peer.send(request(deleteFoldercontents, {}, endpoints, sent.size()), sent));
    if (endpoints < sent.size()) {
      unused.first.reset();
      pollfd end{unused.second.get(), 0, 0};
      EXPECT_EQ(poll(&end, 1, 2'000), 1) << "it is open while the daemon waits";
    }
    const auto reply = peer.receiveReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->outcome(), std::pair(std::string("NSCocoaErrorDomain"), std::int64_t{4099}));
  }
}

/// The requestor asks before the operation begins, so that each ends at its first step. Another
/// client's operation, which has begun, does not.
TEST_F(DaemonTest, OnlyItsOwnRequestorStopsAnOperation) {
  const auto stop = RawClient::methodCall("stopOperation", "", {}, 0, "QRTOperationControl");
  const auto folders = makeFolders(2'000);
  const std::string folder = daemon_->folder(), kept = daemon_->folder() + "/0/inside";
  const std::pair<std::uint64_t, Array> operations[] = {
      {3, {"1", "0", folder}},        {4, {folder}},
      {10, {folder, 0, 0}},           {11, {folder, "", "", 1}},
      {12, {folder, "0", "1", "in"}}, {13, {folder, 0}},
      {21, {folder, 1, 0, 63}},       {22, {"/App", "chmod", "0700", kept}},
  };
  bool wasRunning = false;
  const auto stopOthers = [&](const Dictionary&) {
    if (std::exchange(wasRunning, true)) return;
    auto peer = client();
    EXPECT_TRUE(peer.send(stop) && peer.receiveReply()->isError);
    for (const auto& [code, arguments] : operations) {
      test::SocketPair pair;
      RawClient receiver(std::move(pair.second));
      ASSERT_TRUE(receiver.send(RawClient::handshakeBytes()) && receiver.send(stop));
      ASSERT_TRUE(peer.send(request(code, arguments, 1, 1), {pair.first.get()}));
      EXPECT_EQ(peer.receiveReply()->outcome(), std::pair(std::string(posixErrorDomain), 89L));
      EXPECT_TRUE(test::exists(kept)) << code;
    }
  };
  EXPECT_EQ(perform(*connect(), 10, {folder, 0, 0}, stopOthers), success);
  EXPECT_TRUE(wasRunning);
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
  ASSERT_EQ(connection->registerClientWithPID(getpid()), success);
  const auto outcome = perform(*connection, performUninstall, {getpid(), program, job});
  EXPECT_EQ(codeOf(outcome), 4097) << "there was a reply";
  EXPECT_EQ(daemon_->waitForEnd(), 0);
  EXPECT_FALSE(test::exists(program) || test::exists(job));
  EXPECT_EQ(test::contentsOf(called),
            "stop com.vantor.system.privilegedhelper-vk2.socket\n"
            "disable com.vantor.system.privilegedhelper-vk2.socket\n");
}

}  // namespace
}  // namespace qrt
