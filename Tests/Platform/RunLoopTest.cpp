#include "Platform/RunLoop.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <thread>

namespace platform {
namespace {

using std::chrono::hours;

void servesOneSourcePerRun() {
  RunLoop& loop = RunLoop::current();
  std::string performed;
  auto gone = loop.addSource([&] { performed += "gone"; });
  gone->signal();
  gone.reset();
  EXPECT_FALSE(loop.runDefaultMode(hours(1))) << "it has no source";
  const auto first = loop.addSource([&] { performed += "1"; });
  const auto second = loop.addSource([&] { performed += "2"; });
  EXPECT_TRUE(loop.runDefaultMode(hours(0))) << "the duration has passed";
  second->signal();
  first->signal();
  second->signal();  // already signalled
  EXPECT_TRUE(loop.runDefaultMode(std::chrono::milliseconds::max()));
  EXPECT_EQ(performed.size(), 1U);
  EXPECT_TRUE(loop.runDefaultMode(hours(1)));
  EXPECT_THAT(performed, testing::AnyOf("12", "21")) << "macOS chooses the order";
  performed.clear();
  std::thread signaller([&] { first->signal(); });
  EXPECT_TRUE(loop.runDefaultMode(hours(1)));
  EXPECT_EQ(performed, "1");
  signaller.join();
  const auto third = loop.addSource([] { throw std::runtime_error("third"); });
  third->signal();
  EXPECT_THROW((void)loop.runDefaultMode(hours(1)), std::runtime_error);
}

TEST(RunLoopTest, EachRunServesOneSource) {
  std::thread(servesOneSourcePerRun).join();  // on macOS the main thread's loop is never empty
}

}  // namespace
}  // namespace platform
