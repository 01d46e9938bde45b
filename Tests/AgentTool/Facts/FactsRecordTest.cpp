#include "AgentTool/Facts/FactsRecord.h"

#include <gmock/gmock.h>

#include <chrono>
#include <limits>
#include <string>

#include "AgentTool/Facts/FactsText.h"

using agent_tool::Facts;
using agent_tool::FactsReader;
using agent_tool::FactsRecord;
using platform::PropertyList;
using testing::ElementsAre;
using testing::Optional;

namespace {

Facts exampleFacts() {
  Facts facts;
  facts.time = platform::Moment(std::chrono::seconds(1'795'515'072));
  facts.promptDay = "24-11-2026";
  facts.isAppleSilicon = true;
  facts.macOSVersion = "14.4.1";
  facts.macOSMajorVersion = 14;
  facts.preferredLanguages = {"en-US", "d\"e"};
  facts.powerSource = vexlo::BatteryPower{82};
  facts.freeDiskSpace = 64'000'000'000;
  facts.consoleUser = "alice";
  facts.consoleUserID = 501;
  facts.offsetFromUTC = std::chrono::seconds(-3600);
  facts.softwareUpdateReachable = false;
  facts.softwareUpdateStatus = 1;
  facts.loggedOnUsers = "alice,bob";
  facts.mdmEnrollment = vxutils::EnrollmentType::dep;
  facts.directories.base = "/Library/Agent";
  facts.agentServiceAnswers = true;
  facts.patchData = {.path = "/Library/Agent/data.plist",
                     .values = PropertyList::Dictionary{{"AlwaysKillApps", true}}};
  facts.promptCounts.values = PropertyList::Dictionary{
      {"a\tb", PropertyList::Dictionary{
                   {"data", PropertyList::Value(PropertyList::Data{std::byte{0xa0}})},
                   {"date", PropertyList::Value(platform::PropertyListDate{1.5})},
                   {"infinite", PropertyList::Value(-std::numeric_limits<double>::infinity())},
                   {"large", PropertyList::Value(std::uint64_t{18'446'744'073'709'551'615U})},
                   {"list", PropertyList::Array{"x", std::int64_t{-1}}},
                   {"real", PropertyList::Value(0.1)}}}};
  facts.applications = {{"com.apple.Safari", {{"Safari", 7, "/Applications/Safari"}, {}}},
                        {"com.apple.mail", {}}};
  return facts;
}

TEST(FactsRecordTest, RoundTripsTheOutputOfFacts) {
  const Facts facts = exampleFacts();
  const std::string line = agent_tool::factsAsJSON(facts);
  FactsReader reader;
  ASSERT_TRUE(reader.read(agent_tool::factsAsJSON({})));  // must leave nothing behind
  const auto read = reader.read(line);
  ASSERT_TRUE(read) << read.error().what();
  const FactsRecord& record = **read;
  EXPECT_EQ(record.time, facts.time);
  EXPECT_EQ(record.promptDay, facts.promptDay);
  EXPECT_EQ(static_cast<const agent_tool::PlainFacts&>(record), facts);
  EXPECT_EQ(record.macOSVersion, "14.4.1");
  EXPECT_THAT(record.preferredLanguages, ElementsAre("en-US", "d\"e"));
  EXPECT_EQ(record.consoleUser, "alice");
  EXPECT_EQ(record.loggedOnUsers, "alice,bob");
  EXPECT_EQ(record.baseDirectory, "/Library/Agent");
  EXPECT_EQ(record.dataDirectory, std::nullopt);
  EXPECT_EQ(record.patchData.file(), facts.patchData.path);
  EXPECT_THAT(record.patchData.value("AlwaysKillApps"), Optional(PropertyList(true)));
  EXPECT_EQ(record.patchData.value("ApplicationRunningPrompt"), std::nullopt);
  EXPECT_FALSE(record.customization.arePresent());
  EXPECT_EQ(record.promptCounts.dictionary(), facts.promptCounts.values);
  EXPECT_EQ(record.instancesOf("com.apple.Preview"), std::nullopt);
  EXPECT_TRUE(record.instancesOf("com.apple.mail").value().empty());
  const auto instances = record.instancesOf("com.apple.Safari").value();
  ASSERT_EQ(instances.size(), 2U);
  EXPECT_EQ(instances[0].name, "Safari");
  EXPECT_EQ(instances[0].processIdentifier, 7);
  EXPECT_EQ(instances[1].executable, std::nullopt);

  ASSERT_TRUE(reader.read(agent_tool::factsAsJSON({})));
  EXPECT_EQ(record.powerSource, std::nullopt);
  EXPECT_FALSE(record.patchData.arePresent());
  EXPECT_EQ(record.instancesOf("com.apple.mail"), std::nullopt);
}

TEST(FactsRecordTest, ReadsOptionalMembersAndIgnoresUnknownOnes) {
  FactsReader reader;
  const std::string line =
      R"({"name":"mac-7","else":[{"a":1}],"consoleUser":"x","macOSMajorVersion":14,)"
      R"("appleSilicon":false,"version":1,"softwareUpdateReachable":true,)"
      R"("availableOSUpdates":[{"version":"14.5","deferredUntil":null},{}]})";
  const auto read = reader.read(line);
  ASSERT_TRUE(read) << read.error().what();
  EXPECT_EQ((*read)->name, "mac-7");
  EXPECT_EQ((*read)->softwareUpdateReachable, true);
  EXPECT_TRUE((*read)->updatesAreKnown);
  ASSERT_EQ((*read)->availableOSUpdates.size(), 2U);
  EXPECT_EQ((*read)->availableOSUpdates[0].version, "14.5");
}

struct BadLine {
  const char* line;
  const char* error;
};

class BadFactsTest : public testing::TestWithParam<BadLine> {};

TEST_P(BadFactsTest, ErrorHasPlaceAndExpectation) {
  FactsReader reader;
  const auto read = reader.read(GetParam().line);
  ASSERT_FALSE(read);
  EXPECT_STREQ(read.error().what(), GetParam().error);
}

// The required members of a line.
#define NEEDED R"({"version":1,"appleSilicon":true,"macOSMajorVersion":14,"consoleUser":"a",)"

INSTANTIATE_TEST_SUITE_P(
    Lines, BadFactsTest,
    testing::Values(
        BadLine{"", "column 1: expected a value, found the end of the text"},
        BadLine{R"({"version" 1})", R"(column 12: expected ":" after the member name, found "1")"},
        BadLine{"[1]", "expected an object, found an array"},
        BadLine{R"({"version":2})", "version: expected the version 1, found the integer 2"},
        BadLine{R"({"version":1,"appleSilicon":true})",
                R"(expected the member "macOSMajorVersion", found none)"},
        BadLine{NEEDED R"("powerSource":{"kind":"battery","percentage":8.5}})",
                "powerSource › percentage: expected an integer of the signed 64-bit range, found a "
                "real number"},
        BadLine{NEEDED R"("powerSource":{"kind":"sun"}})",
                R"(powerSource › kind: expected "mains" or "battery", found "sun")"},
        BadLine{NEEDED R"("time":"2026-02-30T10:11:12Z"})",
                R"(time: expected a time such as "2026-11-24T10:11:12Z", or null, found )"
                R"("2026-02-30T10:11:12Z")"},
        BadLine{NEEDED R"("applications":{"com.x":[{"pid":1},{"pid":2147483648}]}})",
                "applications › com.x › [1] › pid: expected an integer of the signed 32-bit range, "
                "found the integer 2147483648"},
        BadLine{NEEDED R"("customization":{"values":[]}})",
                "customization › values: expected an object or null, found an array"},
        BadLine{
            NEEDED R"("x":1e99999999999})",
            "expected numbers of a usual size, found one with an exponent beyond all measure"}));

}  // namespace
