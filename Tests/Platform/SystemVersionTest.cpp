#include "Platform/Posix/SystemVersion.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(SystemVersionTest, TransientErrorsAreRetriedAndDamagedFilesSkipped) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the checks need descriptors of their own";
#endif
  const TemporaryDirectory directory;
  const std::string damaged = directory.write("damaged", "<plist>");
  const std::string good = directory.write("good", "{ProductVersion = '14.5';}");
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  int pauses = 0;
  const auto version = productVersionFrom({directory.file("missing"), damaged, good}, [&](auto) {
    ++pauses;
    setrlimit(RLIMIT_NOFILE, &limit);
  });
  EXPECT_EQ(version, "14.5");
  EXPECT_EQ(pauses, 1);
}

}  // namespace
}  // namespace platform
