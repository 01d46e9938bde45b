#include "VexloPatchDeployment/Validators/Disk/Disk.h"

#include <gmock/gmock.h>

#include <memory>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;

class FakeDiskInfoProvider final : public DiskInfoProvider {
 public:
  std::optional<std::int64_t> freeBytes;
  std::optional<std::int64_t> availableDiskSpace() override { return freeBytes; }
};

TEST(DiskSpaceCheckerTest, ComparesFreeBytesAndCountsUnknownSpaceAsSufficient) {
  const auto disk = std::make_shared<FakeDiskInfoProvider>();
  const LogCapture log;
  DiskSpaceChecker checker(disk);

  disk->freeBytes = 19'999'999'999;
  EXPECT_FALSE(checker.hasMinimumFreeSpace(20'000'000'000));
  disk->freeBytes = 20'000'000'000;
  EXPECT_TRUE(checker.hasMinimumFreeSpace(20'000'000'000));
  disk->freeBytes = std::nullopt;
  EXPECT_TRUE(checker.hasMinimumFreeSpace(20'000'000'000));

  EXPECT_THAT(
      log.records(),
      ElementsAre(
          AllOf(InfoLine("Required free disk space: 20000000000, available free space: "
                         "19999999999, is free space available: false"),
                LoggedBy("Validators/Disk/Disk", "hasMinimumFreeSpace(of:)")),
          InfoLine("Required free disk space: 20000000000, available free space: 20000000000, "
                   "is free space available: true"),
          InfoLine("Unable to retrieve free disk space, considering as sufficient")));
}

TEST(SystemDiskInfoTest, LogsTheFreeBytesOfTheStartUpVolume) {
  const LogCapture log;
  const std::optional<std::int64_t> bytes = SystemDiskInfo().availableDiskSpace();
  ASSERT_TRUE(bytes);
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("Available free disk space: " + std::to_string(*bytes) + "bytes"),
                        LoggedBy("Validators/Disk/DiskInfoProvider", "availableDiskSpace()"))));
}

}  // namespace
}  // namespace vexlo
