#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/AgentServiceConnection.h"
#include "AgentLibraries/vxutils/AgentServiceMessages.h"
#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/LocalSocket.h"
#include "Platform/Polling.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace vxutils {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Value = std::optional<std::string>;

TEST(AgentServiceMessagesTest, LinesAreReadBack) {
  const std::string odd = "a\"b\\c\nd\u00e9\x01";
  EXPECT_EQ(requestLine(1, "Key"), "{\"id\":1,\"fetchStatusMessageForKey\":\"Key\"}\n");
  EXPECT_EQ(replyLine(2, std::nullopt), "{\"id\":2,\"value\":null}\n");
  const auto request = parseRequest(requestLine(7, odd)).value();
  EXPECT_EQ(request.id, 7);
  EXPECT_EQ(request.key, odd);
  const auto reply = parseReply(replyLine(8, odd)).value();
  EXPECT_EQ(reply.id, 8);
  EXPECT_EQ(reply.value, odd);
}

TEST(AgentServiceMessagesTest, OtherLinesAreNoMessages) {
  for (const char* line :
       {"", "nonsense", "[]", "1", "{}", R"({"id":"1","value":"x"})", R"({"id":1.5,"value":"x"})",
        R"({"value":"x"})", R"({"id":1,"value":"x"} {})", "{\"id\":1,\"value\":\"\xFF\"}"}) {
    EXPECT_FALSE(parseReply(line)) << line;
    EXPECT_FALSE(parseRequest(line)) << line;
  }
  EXPECT_FALSE(parseReply(std::string(60'000, '[')));
  EXPECT_FALSE(parseRequest(R"({"id":1,"fetchStatusMessageForKey":null})"));
  EXPECT_EQ(parseReply(R"({"id":1,"value":5,"more":{}})").value().value, std::nullopt);
}

TEST(LineBufferTest, TakesLinesApartAndLeavesNoneOfTheirBytes) {
  LineBuffer buffer;
  const auto put = [&](std::string_view bytes) {
    const std::span<char> room = buffer.room();
    std::ranges::copy(bytes, room.begin());
    buffer.add(bytes.size());
  };
  put("one\ntw");
  EXPECT_EQ(buffer.nextLine(), "one");
  EXPECT_EQ(buffer.nextLine(), std::nullopt);
  put("o\n\n");
  EXPECT_EQ(buffer.nextLine(), "two");
  EXPECT_EQ(buffer.nextLine(), "");
  EXPECT_EQ(buffer.nextLine(), std::nullopt);
  EXPECT_EQ(buffer.room().size(), LineBuffer::kLongestLine);
  EXPECT_THAT(buffer.room(), ::testing::Each('\0'));
  put(std::string(LineBuffer::kLongestLine, 'x'));
  EXPECT_TRUE(buffer.room().empty());
}

/// One end of a socket that a test plays by hand.
class Peer {
 public:
  explicit Peer(platform::Descriptor socket) : socket_(std::move(socket)) {}
  std::string readLine() {
    std::string line;
    char c = 0;
    while (recv(socket_.get(), &c, 1, 0) == 1 && c != '\n') {
      line += c;
    }
    return line;
  }
  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count < 0) {
        return;  // the other end has hung up
      }
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }
  void waitForHangUp() { readLine(); }

 private:
  platform::Descriptor socket_;
};

/// A service that handles its first connection as `script` says, then hangs up.
class ScriptedService {
 public:
  ScriptedService(const std::string& path, std::function<void(Peer&)> script)
      : listener_(*platform::listenOnLocalSocket(path)),
        thread_([this, script = std::move(script)] {
          platform::Awaited client{.descriptor = listener_.get()};
          platform::waitForAny({&client, 1});
          Peer peer(*platform::acceptLocalSocket(listener_));
          script(peer);
        }) {}

 private:
  platform::Descriptor listener_;
  std::jthread thread_;
};

class AgentServiceTest : public ::testing::Test {
 protected:
  AgentServiceTest() {
    std::filesystem::create_directory(directory.file("run"));
    gv_globvars.setDirectories({.base = directory.path(), .data = {}, .logs = {}});
  }
  ~AgentServiceTest() override { gv_globvars.setDirectories({}); }

  /// Asks for `key`. A second reply would break the promise, with an exception that ends the test.
  static std::future<Value> ask(AgentServiceProtocol& service, const std::string& key) {
    auto promise = std::make_shared<std::promise<Value>>();
    service.fetchStatusMessageForKey(key, [promise](const Value& v) { promise->set_value(v); });
    return promise->get_future();
  }
  static Value answer(std::future<Value> asked) {
    if (asked.wait_for(30s) != std::future_status::ready) {
      ADD_FAILURE() << "no reply";
      return "no reply";
    }
    return asked.get();
  }

  TemporaryDirectory directory;
  std::string path = directory.file("run/agent-service.sock");
  LogCapture log;
};

TEST_F(AgentServiceTest, GivesValuesAndAbsence) {
  const std::string odd = "p\"w\\\n\u00e9" + std::string(5000, '\x02');
  const AgentServiceServer server(path, [&](const std::string& key) -> Value {
    return key == "odd" ? Value(odd) : key == "empty" ? Value("") : std::nullopt;
  });
  AgentServiceConnection connection;
  const auto service = connection.getService();
  ASSERT_TRUE(service);
  EXPECT_EQ(connection.getService(), service);
  EXPECT_EQ(answer(ask(*service, "odd")), odd);
  EXPECT_EQ(answer(ask(*service, "empty")), "");
  EXPECT_EQ(answer(ask(*service, "none")), std::nullopt);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AgentServiceTest, RepliesComeInAnyOrder) {
  const ScriptedService script(path, [](Peer& peer) {
    const auto first = parseRequest(peer.readLine());
    const auto second = parseRequest(peer.readLine());
    peer.write(replyLine(second->id, second->key) + replyLine(first->id, first->key));
    peer.waitForHangUp();
  });
  AgentServiceConnection connection;
  const auto service = connection.getService();
  auto first = ask(*service, "a");
  auto second = ask(*service, "b");
  EXPECT_EQ(answer(std::move(second)), "b");
  EXPECT_EQ(answer(std::move(first)), "a");
}

struct OddAnswer {
  const char* name;
  std::string bytes;
  Value expected;
};
class OddAnswerTest : public AgentServiceTest, public ::testing::WithParamInterface<OddAnswer> {};

TEST_P(OddAnswerTest, GivesOneReplyAndHarmsNothing) {
  const ScriptedService script(path, [](Peer& peer) {
    peer.readLine();
    peer.write(GetParam().bytes);
  });
  {
    AgentServiceConnection connection;
    const auto service = connection.getService();
    ASSERT_TRUE(service);
    EXPECT_EQ(answer(ask(*service, "key")), GetParam().expected);
  }
  EXPECT_FALSE(log.mentions("secret"));
}

INSTANTIATE_TEST_SUITE_P(
    Services, OddAnswerTest,
    ::testing::Values(
        OddAnswer{"HangsUp", "", std::nullopt},
        OddAnswer{"DiesInAnAnswer", R"({"id":1,"value":"sec)", std::nullopt},
        OddAnswer{"GarbageFirst", "secret garbage\n{\"id\":1,\"value\":\"v\"}\n", "v"},
        OddAnswer{"AnswersTwice", "{\"id\":1,\"value\":\"v\"}\n{\"id\":1,\"value\":\"secret\"}\n",
                  "v"},
        OddAnswer{"AnswersWhatNobodyAsked",
                  "{\"id\":2,\"value\":\"secret\"}\n{\"id\":1,\"value\":\"v\"}\n", "v"},
        OddAnswer{"NoText", "{\"id\":1,\"value\":[\"secret\"]}\n", std::nullopt},
        OddAnswer{"EndlessLine", std::string(300'000, 'x'), std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(AgentServiceTest, AReplyAfterItsCallerGaveUpIsHarmless) {
  std::binary_semaphore gaveUp{0};
  const ScriptedService script(path, [&](Peer& peer) {
    peer.readLine();
    gaveUp.acquire();
    peer.write(replyLine(1, "late"));
    peer.waitForHangUp();
  });
  AgentServiceConnection connection;
  auto asked = ask(*connection.getService(), "key");
  EXPECT_EQ(asked.wait_for(0s), std::future_status::timeout);
  gaveUp.release();
  EXPECT_EQ(answer(std::move(asked)), "late");
}

TEST_F(AgentServiceTest, WhatIsUnansweredIsAbsentOnceTheConnectionEnds) {
  const ScriptedService script(path, [](Peer& peer) {
    peer.readLine();
    peer.waitForHangUp();
  });
  auto connection = std::make_unique<AgentServiceConnection>();
  const auto service = connection->getService();
  auto asked = ask(*service, "key");
  connection.reset();
  EXPECT_EQ(asked.wait_for(0s), std::future_status::ready) << "answered only after the end";
  EXPECT_EQ(answer(std::move(asked)), std::nullopt);
  EXPECT_EQ(answer(ask(*service, "later")), std::nullopt);
}

TEST_F(AgentServiceTest, AReplyMayDestroyItsConnection) {
  const ScriptedService script(path, [](Peer& peer) {
    peer.readLine();
    peer.readLine();
    peer.write(replyLine(1, "v"));
    peer.waitForHangUp();
  });
  auto connection = std::make_unique<AgentServiceConnection>();
  const auto service = connection->getService();
  std::promise<Value> first;
  service->fetchStatusMessageForKey("a", [&](const Value& value) {
    connection.reset();
    first.set_value(value);
  });
  auto second = ask(*service, "b");
  EXPECT_EQ(answer(first.get_future()), "v");
  EXPECT_EQ(answer(std::move(second)), std::nullopt);
}

TEST_F(AgentServiceTest, AServiceThatCameBackIsReachedAgain) {
  const auto answerKey = [](const std::string& key) -> Value { return key; };
  auto server = std::make_unique<AgentServiceServer>(path, answerKey);
  AgentServiceConnection connection;
  const auto before = connection.getService();
  EXPECT_EQ(answer(ask(*before, "a")), "a");
  server.reset();
  EXPECT_EQ(answer(ask(*before, "b")), std::nullopt);
  EXPECT_EQ(connection.getService(), nullptr);
  server = std::make_unique<AgentServiceServer>(path, answerKey);
  const auto after = connection.getService();
  ASSERT_TRUE(after);
  EXPECT_EQ(answer(ask(*after, "c")), "c");
}

TEST_F(AgentServiceTest, WithoutAServiceThereIsNoProxyAndTheLogSaysWhy) {
  AgentServiceConnection connection;
  EXPECT_EQ(connection.getService(), nullptr);
  gv_globvars.setDirectories({});
  EXPECT_EQ(connection.getService(), nullptr);
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(ErrorLine("Unable to reach the agent service at " + path +
                                  ": No such file or directory."),
                        LoggedBy("vxutils/AgentServiceConnection", "getService()")),
                  ErrorLine("Unable to reach the agent service: the agent's base directory is not "
                            "known.")));
}

TEST_F(AgentServiceTest, NoKeyIsSentToAnotherUsersProcess) {
  constexpr uid_t kOtherUser = 65534;
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can play another user";
  }
  for (const std::string& folder : {directory.path(), directory.file("run")}) {
    std::filesystem::permissions(folder, std::filesystem::perms::all);
  }
  ASSERT_EQ(seteuid(kOtherUser), 0);
  const auto listener = platform::listenOnLocalSocket(path);
  ASSERT_EQ(seteuid(0), 0);
  ASSERT_TRUE(listener) << listener.error();
  AgentServiceConnection connection;
  EXPECT_EQ(connection.getService(), nullptr);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Refused the agent service at " + path +
                                    ": it runs neither as root nor as the agent's user.")));
}

TEST_F(AgentServiceTest, ManyThreadsAndConnectionsGetTheirOwnAnswers) {
  const AgentServiceServer server(path, [](const std::string& key) -> Value { return key; });
  AgentServiceConnection shared;
  const auto service = shared.getService();
  std::vector<std::jthread> threads;
  threads.reserve(4);
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      AgentServiceConnection own;
      const auto ownService = own.getService();
      for (int turn = 0; turn < 50; ++turn) {
        const std::string key = std::to_string(thread) + ' ' + std::to_string(turn);
        auto first = ask(*service, key);
        EXPECT_EQ(answer(ask(*ownService, key + '!')), key + '!');
        EXPECT_EQ(answer(std::move(first)), key);
      }
    });
  }
}

TEST_F(AgentServiceTest, TheServerDropsAClientThatTalksGarbageAndServesTheOthers) {
  const AgentServiceServer server(path, [](const std::string& key) -> Value { return key; });
  AgentServiceConnection connection;
  const auto service = connection.getService();
  for (const std::string& bytes : {std::string("garbage\n"), std::string(100'000, 'x')}) {
    Peer rude(*platform::connectLocalSocket(path));
    rude.write(bytes);
    EXPECT_EQ(rude.readLine(), "");
  }
  Peer eager(*platform::connectLocalSocket(path));
  eager.write(requestLine(1, "one") + requestLine(2, "two"));
  EXPECT_EQ(eager.readLine() + '\n', replyLine(1, "one"));
  EXPECT_EQ(eager.readLine() + '\n', replyLine(2, "two"));
  EXPECT_EQ(answer(ask(*service, "key")), "key");
}

TEST_F(AgentServiceTest, TheServerWaitsForNoClientAndLeavesNoSocket) {
  std::optional<AgentServiceServer> server(
      std::in_place, path, [](const std::string&) -> Value { return std::string(4000, 'v'); });
  Peer deaf(*platform::connectLocalSocket(path));
  std::string requests;
  for (int id = 0; id < 1000; ++id) {
    requests += requestLine(id, "k");
  }
  deaf.write(requests);  // its four megabytes of answers are never read
  AgentServiceConnection connection;
  EXPECT_TRUE(answer(ask(*connection.getService(), "key")));
  server.reset();
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(AgentServiceTest, AServerThatCannotListenThrows) {
  const auto none = [](const std::string&) -> Value { return std::nullopt; };
  EXPECT_THROW(AgentServiceServer(directory.file("none/socket"), none), std::runtime_error);
}

}  // namespace
}  // namespace vxutils
