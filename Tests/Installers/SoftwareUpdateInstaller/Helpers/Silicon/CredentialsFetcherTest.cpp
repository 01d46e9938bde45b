#include <gmock/gmock.h>
#include <sys/resource.h>

#include <array>
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

namespace vexlo {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using ::testing::ElementsAre;

/// Passes requests to the test, which replies at any time on any thread.
class FakeAgentService final : public vxutils::AgentServiceProtocol {
 public:
  std::function<void(const std::string& key, Reply reply)> onRequest;
  void fetchStatusMessageForKey(const std::string& key, Reply reply, Failure /*failure*/) override {
    onRequest(key, std::move(reply));
  }
};

class CredentialsFetcherTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeAgentService> service = std::make_shared<FakeAgentService>();
  LogCapture log;
};

TEST_F(CredentialsFetcherTest, FirstAnswerCounts) {
  service->onRequest = [](const auto&, const auto& reply) {
    reply("first");
    reply("second");
    reply(std::nullopt);
  };
  EXPECT_EQ(DefaultAgentServiceValueFetcher(service).value("key"), "first");
}

TEST_F(CredentialsFetcherTest, LateAnswerIsIgnored) {
  std::latch callerHasGone(1);
  std::thread connection;
  service->onRequest = [&](const auto&, const auto& reply) {
    connection = std::thread([&callerHasGone, reply] {
      callerHasGone.wait();
      reply("late");
    });
  };
  EXPECT_EQ(DefaultAgentServiceValueFetcher(service, 1ms).value("key"), std::nullopt);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Unable to get value for key form AgentService, Timeout.")));
  callerHasGone.count_down();
  connection.join();
}

/// A short string's bytes are in the object itself, so that they can be checked afterwards.
TEST_F(CredentialsFetcherTest, DestroyedCredentialsLeaveNoPassword) {
  alignas(Credentials) std::array<char, sizeof(Credentials)> memory{};
  const auto holdsPassword = [&] {
    // volatile, because the object's lifetime has ended.
    const volatile char* const bytes = memory.data();
    std::string seen;
    for (std::size_t i = 0; i < memory.size(); ++i) {
      seen += bytes[i];
    }
    return seen.contains("ret-pass");  // also finds parts of the password
  };
  rlimit limit{};
  getrlimit(RLIMIT_CORE, &limit);
  const rlimit former =
      std::exchange(limit, {.rlim_cur = limit.rlim_max, .rlim_max = limit.rlim_max});
  setrlimit(RLIMIT_CORE, &limit);
  const std::shared_ptr<void> restore(nullptr, [&](void*) { setrlimit(RLIMIT_CORE, &former); });
  auto* const credentials = new (memory.data()) Credentials("alice", "secret-pass");
  ASSERT_TRUE(holdsPassword());
  *credentials = Credentials("bob", "x");
  EXPECT_FALSE(holdsPassword());
  *credentials = Credentials("alice", "secret-pass");
  const Credentials moved = std::move(*credentials);
  std::destroy_at(credentials);
  EXPECT_FALSE(holdsPassword());
  EXPECT_EQ(moved.password, "secret-pass");
  getrlimit(RLIMIT_CORE, &limit);
  EXPECT_LE(limit.rlim_cur, 1U);
}

}  // namespace
}  // namespace vexlo
