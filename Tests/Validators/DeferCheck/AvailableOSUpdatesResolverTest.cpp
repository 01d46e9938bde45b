#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Optional;

const std::string kHeader = "Available updates (install debug profile for more details): ";
const std::string kFile = "Validators/DeferCheck/AvailableOSUpdatesResolver";

class FakeMDMClient final : public MDMClientCommandExecutor {
 public:
  MDMClientOutput answer;
  MDMClientOutput fetchAvailableOSUpdatesRaw() override { return answer; }
};

class SystemAvailableOSUpdatesTest : public ::testing::Test {
 protected:
  std::optional<std::vector<AvailableOSUpdate>> updatesOf(const std::string& output,
                                                          std::int32_t exitCode = 0) {
    client->answer = {.exitCode = exitCode, .output = output};
    log.clear();
    return SystemAvailableOSUpdates(client).availableOSUpdates();
  }
  [[nodiscard]] std::string lastMessage() const { return log.records().back().message; }

  std::shared_ptr<FakeMDMClient> client = std::make_shared<FakeMDMClient>();
  LogCapture log;
};

TEST_F(SystemAvailableOSUpdatesTest, ReadsTheReportThatTheToolPrints) {
  const std::string output = "Ignoring IA-based installer\n" + kHeader + R"((
        {
        AllowsInstallLater = 1;
        AppIdentifiersToClose =         (
        );
        Build = 25F71;
        DeferredUntil = "2026-08-16 00:00:00 +0000";
        HumanReadableName = "macOS \"Tahoe\" \U00e9\n26.5";
        ProductKey = "MSU_UPDATE_25F71_patch_26.5_major";
        Version = "26.5";
    },
        {
        HumanReadableNameLocale = en;
        Version = 15;
    }
)
)";
  const AvailableOSUpdate tahoe{.build = "25F71",
                                .deferredUntil = "2026-08-16 00:00:00 +0000",
                                .productKey = "MSU_UPDATE_25F71_patch_26.5_major",
                                .version = "26.5"};
  EXPECT_THAT(updatesOf(output),
              Optional(ElementsAre(tahoe, AvailableOSUpdate{.build = std::nullopt,
                                                            .deferredUntil = std::nullopt,
                                                            .productKey = std::nullopt,
                                                            .version = "15"})));
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

TEST_F(SystemAvailableOSUpdatesTest, ReadsOnlyWhatStandsBetweenTheFirstTwoHeaders) {
  EXPECT_THAT(updatesOf(kHeader + "({Version = 1;})" + kHeader + "({Version = 2;}) junk"),
              Optional(ElementsAre(Field(&AvailableOSUpdate::version, "1"))));
  EXPECT_THAT(updatesOf(kHeader + "(\n)\n"), Optional(IsEmpty()));
  EXPECT_EQ(lastMessage(), "Parsed available OS Updates: [].");
}

TEST_F(SystemAvailableOSUpdatesTest, ReadsTheOtherFormsOfPropertyLists) {
  const std::string xml =
      "<plist version=\"1.0\"><array><dict><key>Version</key><string>14.5</string>"
      "<key>Size</key><integer>7</integer></dict></array></plist>";
  const std::string noBytes(6, '\0');
  const auto number = [](char value) { return std::string(7, '\0') + value; };
  const std::string binary = "bplist00\xA1\x01\xD1\x02\x03WVersionT14.5\x08\x0A\x0D\x15" + noBytes +
                             "\x01\x01" + number(4) + number(0) + number(0x1A);
  for (const std::string& list : {xml, binary}) {
    EXPECT_THAT(updatesOf(kHeader + list),
                Optional(ElementsAre(Field(&AvailableOSUpdate::version, "14.5"))))
        << lastMessage();
  }
}

TEST_F(SystemAvailableOSUpdatesTest, AReportThatCantBeReadIsAnEmptyListWithAnErrorLine) {
  struct Case {
    std::string output;
    std::string error;
  };
  const std::string missing = "No available updates found or data conversion failed.";
  const std::string failed = "Deserialization error: ";
  const std::vector<Case> cases = {
      {"", missing},
      {"No updates available\n", missing},
      {"Available updates (install debug profile for more details):\n(\n)", missing},
      {kHeader + "({Version = \"\xFF\";})", missing},
      {kHeader, failed},
      {kHeader + "(\n{\nVersion = 1;\n)", failed + "line 4: "},
      {kHeader + "(\n) and more", failed + "line 2: "},
      {kHeader + "{Version = 1;}", failed + "expected an array of updates."},
      {kHeader + "({}, text)", failed + "item 2: expected a dictionary."},
      {kHeader + "({Version = 1;}, {Build = <25>;})",
       failed + "item 2: expected a text under \"Build\"."},
      {kHeader + "<plist><array><dict><key>Version</key><real>14.5</real></dict></array></plist>",
       failed + "item 1: expected a text under \"Version\"."},
      {kHeader + std::string(100'000, '('), failed},
  };
  for (const auto& [output, error] : cases) {
    EXPECT_THAT(updatesOf(output), Optional(IsEmpty())) << output;
    EXPECT_EQ(log.records().back().level, LogCore::LogLevel::error);
    EXPECT_THAT(lastMessage(), HasSubstr(error)) << output;
  }
}

TEST_F(SystemAvailableOSUpdatesTest, AClientThatFailsOrCantConnectGivesNoList) {
  const std::string list = kHeader + "({Version = 1;})";
  EXPECT_EQ(updatesOf(list, 1), std::nullopt);
  EXPECT_EQ(updatesOf(list + "\nCan’t connect to the Apple Software Update server."), std::nullopt);
  EXPECT_THAT(log.records().back(),
              AllOf(ErrorLine("AvailableOSUpdates command failed or unable to connect to the Apple "
                              "Software Update server. Returning nil."),
                    LoggedBy(kFile, "availableOSUpdates()")));
  EXPECT_NE(updatesOf("Can't connect to the Apple Software Update server.\n" + list), std::nullopt);
}

}  // namespace
}  // namespace vexlo
