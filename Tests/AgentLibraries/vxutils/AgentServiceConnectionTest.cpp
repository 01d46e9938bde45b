#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
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
using ::testing::ElementsAre;
using Value = std::optional<std::string>;

std::string readLine(const platform::Descriptor& socket) {
  std::string line;
  char c = 0;
  while (platform::receive(socket, {&c, 1}, true) == 1 && c != '\n') {
    line += c;
  }
  return line;
}

class AgentServiceConnectionTest : public ::testing::Test {
 protected:
  AgentServiceConnectionTest() {
    std::filesystem::create_directory(directory.file("run"));
    gv_globvars.setDirectories({.base = directory.path(), .data = {}, .logs = {}});
  }
  ~AgentServiceConnectionTest() override { gv_globvars.setDirectories({}); }

  /// Requests `key`. A second reply would throw and end the test.
  static std::future<Value> ask(AgentServiceProtocol& service, const std::string& key) {
    auto promise = std::make_shared<std::promise<Value>>();
    service.fetchStatusMessageForKey(
        key, [promise](const Value& v) { promise->set_value(v); },
        [promise](std::string_view reason) {
          promise->set_value("failed: " + std::string(reason));
        });
    return promise->get_future();
  }
  static Value answer(std::future<Value> asked) {
    return asked.wait_for(30s) == std::future_status::ready ? asked.get() : "no reply";
  }

  TemporaryDirectory directory;
  std::string path = directory.file("run/agent-service.sock");
  LogCapture log;
};

TEST_F(AgentServiceConnectionTest, MalformedAnswersGiveExactlyOneReply) {
  for (const auto& [bytes, expected] : std::vector<std::pair<std::string, Value>>{
           {R"({"id":1,"value":"sec)", "failed: the service closed the connection"},
           {"secret garbage\n", "failed: the service sent a line that is no reply"},
           {"{\"id\":2,\"value\":\"secret\"}\n{\"id\":1,\"value\":\"v\"}\n"
            "{\"id\":1,\"value\":\"secret\"}\n",
            "v"},
           {"{\"id\":1,\"value\":[\"secret\"]}\n", std::nullopt},
           {std::string(300'000, 'x'), "failed: the service sent a reply of more than 64 KiB"}}) {
    const auto listener = *platform::listenOnLocalSocket(path);
    std::thread service([&listener, &bytes] {
      platform::Awaited client{.descriptor = listener.get()};
      platform::waitForAny({&client, 1});
      const auto socket = platform::acceptLocalSocket(listener);
      ASSERT_TRUE(socket);
      readLine(*socket);
      (void)platform::sendWithoutWaiting(*socket, bytes);
    });
    AgentServiceConnection connection;
    EXPECT_EQ(answer(ask(*connection.getService(), "key")), expected) << bytes;
    service.join();
  }
  EXPECT_FALSE(log.mentions("secret"));
}

TEST_F(AgentServiceConnectionTest, FetchesValuesAndReconnectsToARestartedService) {
  const std::string odd = "p\"w\\\n\u00e9" + std::string(5000, '\x02');
  const auto answerKey = [](const std::string& key) {
    return key == "none" ? std::nullopt : Value(key);
  };
  auto server = std::make_unique<AgentServiceServer>(path, answerKey);
  auto connection = std::make_unique<AgentServiceConnection>();
  const auto service = connection->getService();
  for (const Value& value : {Value(odd), Value(""), Value()}) {
    EXPECT_EQ(answer(ask(*service, value.value_or("none"))), value);
  }
  EXPECT_THAT(log.records(), ::testing::IsEmpty());
  server.reset();
  EXPECT_THAT(answer(ask(*service, "key")).value_or(""),
              ::testing::StartsWith("failed: the service "));
  EXPECT_EQ(connection->getService(), nullptr);
  server = std::make_unique<AgentServiceServer>(path, answerKey);
  std::promise<Value> last;
  service->fetchStatusMessageForKey("key",
                                    [&](const Value& value) {
                                      connection.reset();  // on the connection's own thread
                                      last.set_value(value);
                                    },
                                    {});
  EXPECT_EQ(answer(last.get_future()), "key");
  EXPECT_EQ(answer(ask(*service, "later")), "failed: the service can't be reached");
}

TEST_F(AgentServiceConnectionTest, ServerRejectsOtherUsers) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can act as another user";
  }
  std::atomic<int> asked = 0;
  const AgentServiceServer server(path, [&](const std::string&) {
    ++asked;
    return std::string("secret");
  });
  for (const std::string& place : {directory.path(), directory.file("run"), path}) {
    std::filesystem::permissions(place, std::filesystem::perms::all);  // only the check is left
  }
  const pid_t other = fork();
  if (other == 0) {
    const bool isOther = setuid(65534) == 0;
    const auto socket = platform::connectLocalSocket(path);
    const bool sent =
        socket && platform::sendWithoutWaiting(*socket, messageLine(1, kRequestMember, "key")) != 0;
    _exit(isOther && sent && readLine(*socket).empty() ? 0 : 1);
  }
  int status = -1;
  waitpid(other, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(asked, 0);
}

TEST_F(AgentServiceConnectionTest, SendsNoKeyToAnotherUsersServiceAndLogsWhy) {
  constexpr uid_t kOtherUser = 65534;
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can act as another user";
  }
  for (const std::string& folder : {directory.path(), directory.file("run")}) {
    std::filesystem::permissions(folder, std::filesystem::perms::all);
  }
  AgentServiceConnection connection;
  EXPECT_EQ(connection.getService(), nullptr);
  ASSERT_EQ(seteuid(kOtherUser), 0);
  const auto listener = platform::listenOnLocalSocket(path);
  ASSERT_EQ(seteuid(0), 0);
  ASSERT_TRUE(listener) << listener.error();
  EXPECT_EQ(connection.getService(), nullptr);
  gv_globvars.setDirectories({});
  EXPECT_EQ(connection.getService(), nullptr);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Unable to reach the agent service at " + path +
                                    ": No such file or directory."),
                          ErrorLine("Refused the agent service at " + path +
                                    ": it runs neither as root nor as the agent's user."),
                          ErrorLine("Unable to reach the agent service: the agent's base "
                                    "directory is not known.")));
}

TEST_F(AgentServiceConnectionTest, ServerAnswersManyRequestsDespiteBadClientsAndRemovesItsSocket) {
  auto server = std::make_unique<AgentServiceServer>(
      path, [](const std::string&) { return std::string(4000, 'v'); });
  std::string requests;
  for (int id = 0; id < 1000; ++id) {
    requests += messageLine(id, kRequestMember, "k");
  }
  const auto deaf = *platform::connectLocalSocket(path);
  // Its four megabytes of answers are never read.
  ASSERT_EQ(platform::sendWithoutWaiting(deaf, requests), std::ssize(requests));
  const auto rude = *platform::connectLocalSocket(path);
  ASSERT_GT(platform::sendWithoutWaiting(rude, "garbage\n"), 0);
  EXPECT_EQ(readLine(rude), "") << "it is not disconnected";
  EXPECT_THAT(log.records(), ::testing::ElementsAre(ErrorLine(
                                 "Disconnected a client that sent a line that is no request.")));
  AgentServiceConnection connection;
  const auto service = connection.getService();
  std::vector<std::future<Value>> asked;
  for (int request = 0; request < 3000; ++request) {
    asked.push_back(ask(*service, std::string(200, 'k')));
  }
  for (std::future<Value>& each : asked) {
    EXPECT_EQ(answer(std::move(each)), std::string(4000, 'v'));
  }
  server.reset();
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace vxutils
