#include "Platform/RunLoop.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace platform {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using ::testing::ElementsAre;

/// Each test's loop belongs to a thread of its own, so that no source of another test is on it.
void onOwnThread(const std::function<void(RunLoop&)>& body) {
  std::thread([&] { body(RunLoop::current()); }).join();
}

TEST(RunLoopTest, WithoutASourceItDoesNotRun) {
  onOwnThread([](RunLoop& loop) {
    EXPECT_FALSE(loop.runDefaultMode(hours(1)));
    auto source = loop.addSource([] {});
    source->signal();
    source.reset();  // while it is signalled
    EXPECT_FALSE(loop.runDefaultMode(hours(1)));
  });
}

TEST(RunLoopTest, EveryRunServesOneSourceInTheOrderOfTheSignals) {
  onOwnThread([](RunLoop& loop) {
    std::vector<std::string> performed;
    auto gone = loop.addSource([&] { performed.emplace_back("gone"); });
    const auto first = loop.addSource([&] { performed.emplace_back("first"); });
    const auto second = loop.addSource([&] { performed.emplace_back("second"); });
    gone->signal();
    second->signal();
    first->signal();
    second->signal();  // it is waiting already
    gone.reset();
    EXPECT_TRUE(loop.runDefaultMode(hours(1)));
    EXPECT_THAT(performed, ElementsAre("second"));
    EXPECT_TRUE(loop.runDefaultMode(milliseconds::max()));
    EXPECT_TRUE(loop.runDefaultMode(milliseconds(-1)));
    EXPECT_THAT(performed, ElementsAre("second", "first"));
  });
}

TEST(RunLoopTest, ItWaitsForItsDurationOrASignalOfAnotherThread) {
  onOwnThread([](RunLoop& loop) {
    int performed = 0;
    const auto source = loop.addSource([&] { ++performed; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(loop.runDefaultMode(milliseconds(20)));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
    for (int round = 1; round <= 200; ++round) {
      const std::jthread signaller([&] { source->signal(); });
      EXPECT_TRUE(loop.runDefaultMode(hours(1)));
      EXPECT_EQ(performed, round);
    }
  });
}

}  // namespace
}  // namespace platform
