#include "VexloPatchDeployment/Validators/Disk/Disk.h"

#include <gmock/gmock.h>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;

class FakeDiskInfo final : public DiskInfoProvider {
 public:
  std::optional<std::int64_t> freeBytes;
  std::optional<std::int64_t> availableDiskSpace() override { return freeBytes; }
};

TEST(DiskTest, NeedsTheWholeRequirementUnlessSpaceIsUnknown) {
  FakeDiskInfo disk;
  const LogCapture log;
  DiskSpaceChecker checker(disk);
  disk.freeBytes = 19;
  EXPECT_FALSE(checker.hasMinimumFreeSpace(20));
  disk.freeBytes = 20;
  EXPECT_TRUE(checker.hasMinimumFreeSpace(20));
  disk.freeBytes = std::nullopt;
  EXPECT_TRUE(checker.hasMinimumFreeSpace(20));
  const std::string required = "Required free disk space: 20, available free space: ";
  EXPECT_THAT(
      log.records(),
      AllOf(
          Each(LoggedBy("Validators/Disk/Disk", "hasMinimumFreeSpace(of:)")),
          ElementsAre(InfoLine(required + "19, is free space available: false"),
                      InfoLine(required + "20, is free space available: true"),
                      InfoLine("Unable to retrieve free disk space, considering as sufficient"))));
}

}  // namespace
}  // namespace vexlo
