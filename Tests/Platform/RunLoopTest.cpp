#include "Platform/RunLoop.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace platform {
namespace {

using std::chrono::hours;

TEST(RunLoopTest, EachRunServesOneSourceInSignalOrder) {
  RunLoop& loop = RunLoop::current();
  std::string performed;
  auto gone = loop.addSource([&] { performed += "gone"; });
  gone->signal();
  gone.reset();
  EXPECT_FALSE(loop.runDefaultMode(hours(1))) << "it has no source";
  const auto first = loop.addSource([&] { performed += "1"; });
  const auto second = loop.addSource([&] { performed += "2"; });
  second->signal();
  first->signal();
  second->signal();  // already signalled
  EXPECT_TRUE(loop.runDefaultMode(std::chrono::milliseconds::max()));
  EXPECT_EQ(performed, "2");
  EXPECT_TRUE(loop.runDefaultMode(hours(1)));
  EXPECT_EQ(performed, "21");
  std::thread signaller([&] { first->signal(); });
  EXPECT_TRUE(loop.runDefaultMode(hours(1)));
  EXPECT_EQ(performed, "211");
  signaller.join();
}

}  // namespace
}  // namespace platform
