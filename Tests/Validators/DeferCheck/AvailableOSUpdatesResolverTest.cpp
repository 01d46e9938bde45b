#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const std::string kHeader = "Available updates (install debug profile for more details): ";
const std::string kFile = "Validators/DeferCheck/AvailableOSUpdatesResolver";

class AvailableOSUpdatesResolverTest : public ::testing::Test, public MDMClientCommandExecutor {
 protected:
  AvailableOSUpdates reportIn(const std::string& output) {
    answer = {.exitCode = 0, .output = output};
    log.clear();
    return SystemAvailableOSUpdates(*this).availableOSUpdates().value();
  }
  CommandResult fetchAvailableOSUpdatesRaw() override { return answer; }

  CommandResult answer;
  LogCapture log;
};

TEST_F(AvailableOSUpdatesResolverTest, ParsesTheToolsReport) {
  const std::string output = "Ignoring IA-based installer\n" + kHeader + R"((
        {
        Build = 25F71;
        DeferredUntil = "2026-08-16 00:00:00 +0000";
        ProductKey = "MSU_UPDATE_25F71_patch_26.5_major";
        Version = "26.5";
    },
        {Version = 15;})
)";
  EXPECT_EQ(reportIn(output).updates.at(0).productKey, "MSU_UPDATE_25F71_patch_26.5_major");
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("Available OS Updates raw data : " + output + ", exitCode: 0."),
                        LoggedBy(kFile, "availableOSUpdates()")),
                  AllOf(InfoLine("Parsed available OS Updates: [AvailableOSUpdate(build: "
                                 "Optional(\"25F71\"), deferredUntil: "
                                 "Optional(\"2026-08-16 00:00:00 +0000\"), productKey: "
                                 "Optional(\"MSU_UPDATE_25F71_patch_26.5_major\"), version: "
                                 "Optional(\"26.5\")), AvailableOSUpdate(build: nil, "
                                 "deferredUntil: nil, productKey: nil, version: "
                                 "Optional(\"15\"))]."),
                        LoggedBy(kFile, "parse(_:)"))));
}

TEST_F(AvailableOSUpdatesResolverTest, ParsesBetweenTheFirstTwoHeaders) {
  EXPECT_THAT(reportIn(kHeader + "({Version = 1;})" + kHeader + "({Version = 2;}) junk").updates,
              ElementsAre(Field(&AvailableOSUpdate::version, "1")));
  EXPECT_TRUE(reportIn(kHeader + "(\n)\n").isListed);
}

TEST_F(AvailableOSUpdatesResolverTest, UnreadableReportIsAnEmptyListAndLogged) {
  const std::string missing = "No available updates found or data conversion failed.";
  const std::string failed = "Deserialization error: ";
  for (const auto& [output, error] : std::vector<std::pair<std::string, std::string>>{
           {"Available updates (install debug profile for more details):\n(\n)", missing},
           {kHeader + "({Version = \"\xFF\";})", missing},
           {kHeader + "(\n{\nVersion = 1;\n)", failed + "line 4: "},
           {kHeader + "{Version = 1;}", failed + "expected an array of updates."},
           {kHeader + "({}, {Build = <25>;})",
            failed + "item 2: expected a string under \"Build\"."},
           {kHeader + std::string(100'000, '('), failed}}) {
    SCOPED_TRACE(output);
    const AvailableOSUpdates report = reportIn(output);
    EXPECT_THAT(report.updates, IsEmpty());
    EXPECT_FALSE(report.isListed);
    EXPECT_THAT(log.records().back(), LoggedBy(kFile, "parse(_:)"));
    EXPECT_EQ(log.records().back().level, LogCore::LogLevel::error);
    EXPECT_THAT(log.records().back().message, StartsWith(error));
  }
}

}  // namespace
}  // namespace vexlo
