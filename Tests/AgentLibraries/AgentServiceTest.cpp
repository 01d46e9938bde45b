#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
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

TEST(LineBufferTest, TakesLinesApartAndLeavesNoneOfTheirBytes) {
  LineBuffer buffer;
  for (const char c : std::string_view("two\ntwo\n")) {
    buffer.room().front() = c;
    buffer.add(1);
    EXPECT_EQ(buffer.nextLine().value_or("none yet"), c != '\n' ? "none yet" : "two");
  }
  EXPECT_THAT(buffer.room(), ::testing::Each('\0'));
}

/// One end of a socket that a test plays by hand.
class Peer {
 public:
  explicit Peer(platform::Descriptor socket) : socket_(std::move(socket)) {}
  std::string readLine() {
    std::string line;
    char c = 0;
    while (platform::receive(socket_, {&c, 1}, true) == 1 && c != '\n') {
      line += c;
    }
    return line;
  }
  void write(std::string_view bytes) {
    for (std::ptrdiff_t sent = 0; !bytes.empty() && sent >= 0;) {
      sent = platform::sendWithoutWaiting(socket_, bytes);
      bytes.remove_prefix(static_cast<std::size_t>(std::max<std::ptrdiff_t>(sent, 0)));
    }
  }

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
    return asked.wait_for(30s) == std::future_status::ready ? asked.get() : "no reply";
  }

  TemporaryDirectory directory;
  std::string path = directory.file("run/agent-service.sock");
  LogCapture log;
};

TEST_F(AgentServiceTest, OddAnswersGiveOneReplyAndHarmNothing) {
  const std::string good = "{\"id\":1,\"value\":\"v\"}\n";
  const std::vector<std::pair<std::string, Value>> rows{
      {"", std::nullopt},  // it hangs up
      {R"({"id":1,"value":"sec)", std::nullopt},
      {"secret garbage\n" + good, "v"},
      {good + "{\"id\":1,\"value\":\"secret\"}\n", "v"},
      {"{\"id\":2,\"value\":\"secret\"}\n" + good, "v"},
      {"{\"id\":1,\"value\":[\"secret\"]}\n", std::nullopt},
      {std::string(300'000, 'x'), std::nullopt}};
  for (const auto& [bytes, expected] : rows) {
    const ScriptedService script(path, [&](Peer& peer) {
      peer.readLine();
      peer.write(bytes);
    });
    AgentServiceConnection connection;
    EXPECT_EQ(answer(ask(*connection.getService(), "key")), expected) << bytes;
  }
  EXPECT_FALSE(log.mentions("secret"));
}

TEST_F(AgentServiceTest, AReplyMayDestroyItsConnectionAndWhatIsUnansweredIsAbsent) {
  const ScriptedService script(path, [](Peer& peer) {
    peer.readLine();
    peer.readLine();
    peer.write(replyLine(1, "v"));
    peer.readLine();  // until the other end hangs up
  });
  auto connection = std::make_unique<AgentServiceConnection>();
  const auto service = connection->getService();
  std::promise<Value> first;
  service->fetchStatusMessageForKey("a", [&](const Value& value) {
    connection.reset();
    first.set_value(value);
  });
  auto unanswered = ask(*service, "b");
  EXPECT_EQ(answer(first.get_future()), "v");
  EXPECT_EQ(answer(std::move(unanswered)), std::nullopt);
  EXPECT_EQ(answer(ask(*service, "later")), std::nullopt);
}

TEST_F(AgentServiceTest, ValuesAndAbsenceAreGivenAlsoByAServiceThatCameBack) {
  const std::string odd = "p\"w\\\n\u00e9" + std::string(5000, '\x02');
  const auto answerKey = [](const std::string& key) {
    return key == "none" ? std::nullopt : Value(key);
  };
  auto server = std::make_unique<AgentServiceServer>(path, answerKey);
  AgentServiceConnection connection;
  const auto before = connection.getService();
  EXPECT_EQ(connection.getService(), before);
  for (const Value& value : {Value(odd), Value(""), Value()}) {
    EXPECT_EQ(answer(ask(*before, value.value_or("none"))), value);
  }
  EXPECT_THAT(log.records(), IsEmpty());
  server.reset();
  EXPECT_EQ(answer(ask(*before, "key")), std::nullopt);
  EXPECT_EQ(connection.getService(), nullptr);
  server = std::make_unique<AgentServiceServer>(path, answerKey);
  EXPECT_EQ(answer(ask(*before, "key")), "key");
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

TEST_F(AgentServiceTest, TheServerWaitsForNoClientAndLeavesNoSocket) {
  std::optional<AgentServiceServer> server(
      std::in_place, path, [](const std::string&) -> Value { return std::string(4000, 'v'); });
  Peer deaf(*platform::connectLocalSocket(path));
  std::string requests;
  for (int id = 0; id < 1000; ++id) {
    requests += requestLine(id, "k");
  }
  deaf.write(requests);  // its four megabytes of answers are never read
  for (const std::string& bytes : {std::string("garbage\n"), std::string(100'000, 'x')}) {
    Peer rude(*platform::connectLocalSocket(path));
    rude.write(bytes);
    EXPECT_EQ(rude.readLine(), "") << "it is not disconnected";
  }
  AgentServiceConnection connection;
  EXPECT_TRUE(answer(ask(*connection.getService(), "key")));
  server.reset();
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace vxutils
