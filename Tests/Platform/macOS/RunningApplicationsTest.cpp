// Tests running applications with stand-ins for the workspace's classes, on another Objective-C
// runtime.
#include "Platform/RunningApplications.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>

#include "Tests/Platform/macOS/StandIns/System.h"

namespace platform {
namespace {

using stand_in::machine;

TEST(WorkspaceTest, ListsApplicationsInOrderAndReleasesThem) {
  const int before = stand_in::objectsAlive();
  machine = {};
  EXPECT_TRUE(runningApplications("com.example.none").empty());
  EXPECT_EQ(machine.identifier, "com.example.none");
  EXPECT_TRUE(runningApplications("\xff").empty()) << "not UTF-8: the workspace isn't asked";
  EXPECT_EQ(machine.identifier, "com.example.none");
  machine.applications = {{.identifier = u"com.example.a",
                           .name = u"Caf\u00e9",
                           .path = u"/A.app/Contents/MacOS/A",
                           .processIdentifier = getpid()},
                          {.hasExecutable = false, .processIdentifier = -1, .canBeKilled = false},
                          {.identifier = u"", .name = u"", .processIdentifier = 1},
                          {.identifier = u"com.example.a", .processIdentifier = INT_MAX},
                          {.identifier = u"com.example.a", .terminated = true}};
  {
    const auto found = runningApplications("com.example.a");
    ASSERT_EQ(found.size(), 3U) << "no process has the highest id, and the last one has ended";
    EXPECT_EQ(found[0].localizedName, "Caf\u00e9");
    EXPECT_EQ(found[0].executableURL, "/A.app/Contents/MacOS/A");
    EXPECT_EQ(found[0].processIdentifier, getpid());
    EXPECT_TRUE(found[0].forceTerminate());
    EXPECT_EQ(found[1].localizedName, std::nullopt);
    EXPECT_EQ(found[1].executableURL, std::nullopt) << "no executable URL";
    EXPECT_FALSE(found[1].forceTerminate());
    EXPECT_EQ(found[2].localizedName, "");
    EXPECT_EQ(found[2].executableURL, std::nullopt) << "an executable URL without a path";
    EXPECT_EQ(stand_in::objectsAlive(), before + 3);
  }
  {
    const auto all = runningApplications(std::nullopt);
    ASSERT_EQ(all.size(), 1U) << "the others have no identifier or have ended";
    EXPECT_EQ(all[0].bundleIdentifier, "com.example.a");
  }
  EXPECT_EQ(stand_in::objectsAlive(), before);
}

}  // namespace
}  // namespace platform
