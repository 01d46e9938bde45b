#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

namespace vexlo {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using ::testing::AllOf;
using ::testing::ElementsAre;

const std::string kUserNameKey = "PatchOSUpdateUserName";
const std::string kPasswordKey = "PatchOSUpdatePassword";
const std::string kFolder = "Installers/SoftwareUpdateInstaller/Helpers/Silicon/";
const char* const kNoCredentials =
    "Unable to get username and password from agent service connection. Need to retry later.";

auto received(const std::string& key) {
  return AllOf(InfoLine("Received value for " + key + " form AgentService."),
               LoggedBy(kFolder + "AgentServiceValueFetcher", "value(for:)"));
}

/// Hands every request to the test, which replies when and where it likes.
class FakeAgentService final : public vxutils::AgentServiceProtocol {
 public:
  std::function<void(const std::string& key, Reply reply)> onRequest;
  void fetchStatusMessageForKey(const std::string& key, Reply reply) override {
    onRequest(key, std::move(reply));
  }
};

class AgentServiceValueFetcherTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeAgentService> service = std::make_shared<FakeAgentService>();
  LogCapture log;
};

TEST_F(AgentServiceValueFetcherTest, WaitsForTheAnswerOfAnotherThread) {
  std::jthread connection;
  service->onRequest = [&](const std::string& key, const auto& reply) {
    connection = std::jthread([key, reply] { reply("value of " + key); });
  };
  EXPECT_EQ(DefaultAgentServiceValueFetcher(service).value("key"), "value of key");
  EXPECT_THAT(log.records(), ElementsAre(received("key")));
  EXPECT_FALSE(log.mentions("value of"));

  service->onRequest = [](const auto&, const auto& reply) { reply(std::nullopt); };
  EXPECT_EQ(DefaultAgentServiceValueFetcher(service).value("key"), std::nullopt);
  EXPECT_EQ(log.records().size(), 2U);
}

TEST_F(AgentServiceValueFetcherTest, TheFirstOfSeveralAnswersCounts) {
  service->onRequest = [](const auto&, const auto& reply) {
    reply("first");
    reply("second");
    reply(std::nullopt);
  };
  EXPECT_EQ(DefaultAgentServiceValueFetcher(service).value("key"), "first");
}

TEST_F(AgentServiceValueFetcherTest, AnAnswerAfterTheTimeoutMeetsNobody) {
  std::latch callerHasGone(1);
  std::jthread connection;
  service->onRequest = [&](const auto&, const auto& reply) {
    connection = std::jthread([&callerHasGone, reply] {
      callerHasGone.wait();
      reply("late");
    });
  };
  EXPECT_EQ(DefaultAgentServiceValueFetcher(service, 1ms).value("key"), std::nullopt);
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(ErrorLine("Unable to get value for key form AgentService, Timeout."),
                        LoggedBy(kFolder + "AgentServiceValueFetcher", "value(for:)"))));
  callerHasGone.count_down();
  connection.join();
  EXPECT_THAT(log.records().back(), received("key"));
}

/// A race on purpose: the answers come about when the waiting ends.
TEST_F(AgentServiceValueFetcherTest, AnAnswerAtTheVeryTimeoutIsWholeOrAbsent) {
  for (int round = 0; round < 200; ++round) {
    std::vector<std::jthread> connections;
    service->onRequest = [&](const auto&, const auto& reply) {
      for (const char* answer : {"the answer", "another answer"}) {
        connections.emplace_back([reply, answer] { reply(answer); });
      }
    };
    const auto value = DefaultAgentServiceValueFetcher(service, round % 2 * 1ms).value("key");
    EXPECT_TRUE(value.value_or("the answer").ends_with("answer"));
  }
}

/// Answers from a map; absent for other keys.
class FakeValues final : public AgentServiceValueFetcher {
 public:
  std::map<std::string, std::string> values;
  std::vector<std::string> keys;
  std::optional<std::string> value(const std::string& key) override {
    keys.push_back(key);
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
  }
};

TEST(UserCredentialsTest, NeedBothTexts) {
  struct Case {
    std::map<std::string, std::string> values;
    std::size_t keysAsked;
    std::optional<Credentials> credentials;
  };
  const std::vector<Case> cases = {
      {{{kUserNameKey, "alice"}, {kPasswordKey, "pw"}}, 2, Credentials("alice", "pw")},
      {{{kUserNameKey, " "}, {kPasswordKey, "  "}}, 2, Credentials(" ", "  ")},
      {{{kUserNameKey, ""}, {kPasswordKey, "pw"}}, 1, std::nullopt},
      {{{kPasswordKey, "pw"}}, 1, std::nullopt},
      {{{kUserNameKey, "alice"}, {kPasswordKey, ""}}, 2, std::nullopt},
      {{{kUserNameKey, "alice"}}, 2, std::nullopt},
  };
  for (const auto& [values, keysAsked, credentials] : cases) {
    const LogCapture log;
    const auto provider = std::make_shared<FakeValues>();
    provider->values = values;
    EXPECT_EQ(UserCredentials(provider).credentials(), credentials);
    EXPECT_EQ(provider->keys.size(), keysAsked);
    EXPECT_EQ(provider->keys.front(), kUserNameKey);
    if (!credentials) {
      EXPECT_THAT(log.records(),
                  ElementsAre(AllOf(ErrorLine(kNoCredentials),
                                    LoggedBy(kFolder + "CredentialsFetcher", "credentials()"))));
    }
  }
}

TEST(CredentialsTest, CompareBothTextsAndShowOnlyTheName) {
  const Credentials alice("alice", "s3cret");
  EXPECT_EQ(alice, Credentials("alice", "s3cret"));
  EXPECT_NE(alice, Credentials("alice", "S3cret"));
  EXPECT_NE(alice, Credentials("Alice", "s3cret"));
  std::ostringstream out;
  out << alice;
  EXPECT_EQ(out.str(), "Credentials(alice)");
}

/// The bytes of a short text lie in the object itself, so that they can be looked at afterwards.
TEST(CredentialsTest, LeaveNoPasswordWhereTheyWere) {
  alignas(Credentials) std::array<char, sizeof(Credentials)> memory{};
  const auto holdsPassword = [&] {
    // Read as the compiler can't foresee: the object's own life has ended.
    const volatile char* const bytes = memory.data();
    std::string seen;
    for (std::size_t i = 0; i < memory.size(); ++i) {
      seen += bytes[i];
    }
    return seen.contains("ret-pass");  // an end of it, too
  };
  auto* const credentials = new (memory.data()) Credentials("alice", "secret-pass");
  ASSERT_TRUE(holdsPassword());
  *credentials = Credentials("bob", "x");
  EXPECT_FALSE(holdsPassword());
  *credentials = Credentials("alice", "secret-pass");
  const Credentials moved = std::move(*credentials);
  std::destroy_at(credentials);
  EXPECT_FALSE(holdsPassword());
  EXPECT_EQ(moved.password, "secret-pass");
}

/// The real service over its socket.
class AgentServiceCredentialsTest : public ::testing::Test {
 protected:
  static std::string socketPath() {
    std::filesystem::create_directories(testAgentDirectories().file("base/run"));
    return testAgentDirectories().file("base/run/agent-service.sock");
  }
  LogCapture log;
};

TEST_F(AgentServiceCredentialsTest, AreFetchedAnewFromTheService) {
  std::atomic<int> requests = 0;
  const vxutils::AgentServiceServer server(socketPath(), [&](const std::string& key) {
    ++requests;
    return std::optional(key == kUserNameKey ? "alice" : "p\"w\\\n\u00FC");
  });
  const auto service = agentServiceCredentials();
  ASSERT_TRUE(service);
  for (const int expected : {2, 4}) {
    EXPECT_EQ(service->fetcher->credentials(), Credentials("alice", "p\"w\\\n\u00FC"));
    EXPECT_EQ(requests, expected);
  }
  EXPECT_FALSE(log.mentions("p\"w"));
}

TEST_F(AgentServiceCredentialsTest, AreAbsentWhenTheServiceHasNoneDiesOrIsNotThere) {
  EXPECT_FALSE(agentServiceCredentials());
  auto server = std::make_unique<vxutils::AgentServiceServer>(
      socketPath(), [](const std::string&) { return std::nullopt; });
  const auto service = agentServiceCredentials();
  ASSERT_TRUE(service);
  EXPECT_EQ(service->fetcher->credentials(), std::nullopt);
  server.reset();
  EXPECT_EQ(service->fetcher->credentials(), std::nullopt);
  EXPECT_THAT(log.records().back(), ErrorLine(kNoCredentials));
}

}  // namespace
}  // namespace vexlo
