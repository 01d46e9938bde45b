#include "Platform/RunLoop.h"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>

namespace platform {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using ::testing::ElementsAre;

/// Each test's loop belongs to a thread of its own, so that no source of another test is on it.
class RunLoopTest : public ::testing::Test {
 protected:
  static void onOwnThread(const std::function<void(RunLoop&)>& body) {
    std::thread([&] { body(RunLoop::current()); }).join();
  }
};

TEST_F(RunLoopTest, WithoutASourceItDoesNotRun) {
  onOwnThread([](RunLoop& loop) {
    EXPECT_FALSE(loop.runDefaultMode(hours(1)));
    auto source = loop.addSource([] {});
    source->signal();
    source.reset();  // while it is signalled
    EXPECT_FALSE(loop.runDefaultMode(hours(1)));
  });
}

TEST_F(RunLoopTest, RunsForItsDurationWhenNothingFires) {
  onOwnThread([](RunLoop& loop) {
    const auto source = loop.addSource([] { ADD_FAILURE() << "was not signalled"; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(loop.runDefaultMode(milliseconds(20)));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
    EXPECT_TRUE(loop.runDefaultMode(milliseconds(-1)));
  });
}

TEST_F(RunLoopTest, EveryRunServesOneSourceInTheOrderOfTheSignals) {
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
    EXPECT_TRUE(loop.runDefaultMode(milliseconds(0)));
    EXPECT_THAT(performed, ElementsAre("second", "first"));
  });
}

TEST_F(RunLoopTest, ASourceMayRunTheLoopSignalAndRemoveItself) {
  onOwnThread([](RunLoop& loop) {
    int performed = 0;
    std::shared_ptr<RunLoop::Source> source;
    source = loop.addSource([&] {
      if (++performed == 1) {
        source->signal();
        EXPECT_TRUE(loop.runDefaultMode(hours(1)));  // performs it again, which removes it
      } else {
        source.reset();
      }
    });
    source->signal();
    EXPECT_TRUE(loop.runDefaultMode(hours(1)));
    EXPECT_EQ(performed, 2);
    EXPECT_FALSE(loop.runDefaultMode(hours(1)));
  });
}

TEST_F(RunLoopTest, SignalsOfOtherThreadsArriveWhileItWaits) {
  onOwnThread([](RunLoop& loop) {
    constexpr int kSignallers = 4;
    constexpr int kRounds = 200;
    int performed = 0;  // touched on the loop's thread alone
    std::atomic<int> served = 0;
    std::vector<std::shared_ptr<RunLoop::Source>> sources;
    std::vector<std::jthread> threads;
    sources.reserve(kSignallers);
    threads.reserve(kSignallers);
    for (int number = 0; number < kSignallers; ++number) {
      sources.push_back(loop.addSource([&] {
        ++performed;
        served.fetch_add(1);
        served.notify_all();
      }));
    }
    for (const auto& source : sources) {
      threads.emplace_back([&served, source] {
        for (int round = 0; round < kRounds; ++round) {
          const int before = served.load();
          source->signal();
          served.wait(before);
        }
      });
    }
    // Signals of a waiting source are one, so that their number is not that of the services.
    std::atomic<bool> done = false;
    const auto last = loop.addSource([&] { done = true; });
    std::jthread ender([&] {
      for (std::jthread& thread : threads) {
        thread.join();
      }
      last->signal();
    });
    while (!done) {
      EXPECT_TRUE(loop.runDefaultMode(hours(1)));
    }
    EXPECT_GE(performed, kRounds);
  });
}

TEST_F(RunLoopTest, ASignalAfterTheEndOfItsThreadIsHarmless) {
  std::shared_ptr<RunLoop::Source> source;
  onOwnThread([&](RunLoop& loop) {
    source = loop.addSource([] { ADD_FAILURE() << "its thread has ended"; });
  });
  source->signal();
  EXPECT_FALSE(RunLoop::current().runDefaultMode(hours(1)));
}

}  // namespace
}  // namespace platform
