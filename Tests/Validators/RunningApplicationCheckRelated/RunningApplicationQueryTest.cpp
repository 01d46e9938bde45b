#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

TEST(RunningApplicationQueryTest, AsksAgainWhenThePlatformCannotTell) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the checks need descriptors of their own";
#endif
  const LogCapture log;
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = limit.rlim_max};
  for (const int pausesWithout : {2, 100}) {
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    int pauses = 0;
    SystemRunningApplicationQuery query([&](auto) {
      if (++pauses == pausesWithout) {
        setrlimit(RLIMIT_NOFILE, &limit);
      }
    });
    EXPECT_TRUE(query.runningApplications("com.example.absent").empty());
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(pauses, std::min(pausesWithout, 4));
    EXPECT_EQ(log.records().size(), pausesWithout == 2 ? 0U : 1U);
  }
  EXPECT_THAT(log.records(), testing::ElementsAre(
                                 ErrorLine("Unable to learn whether applications are running for "
                                           "bundleID: com.example.absent: Too many open files.")));
}

}  // namespace
}  // namespace vexlo
