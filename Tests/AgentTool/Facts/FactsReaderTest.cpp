#include <gmock/gmock.h>

#include <chrono>
#include <limits>
#include <string>

#include "AgentTool/Facts/Facts.h"

using agent_tool::Facts;
using agent_tool::FactsReader;
using platform::PropertyList;

namespace {

Facts exampleFacts() {
  Facts facts;
  facts.time = platform::Moment(std::chrono::seconds(1'795'564'799));
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
  facts.agent = {.base = "/Library/Agent", .serviceAnswers = true, .credentialsStored = false};
  facts.softwareUpdateLabels = {"macOS Sonoma 14.5-23F79"};
  facts.installAssistants = {"/Applications/Install macOS Sonoma.app"};
  facts.patchData = {.file = "/Library/Agent/data.plist",
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
  facts.availableOSUpdates = {{.deferredUntil = "2024-06-15 00:00:00 +0000", .version = "14.5"},
                              {}};
  facts.updatesListed = true;
  return facts;
}

TEST(FactsReaderTest, RoundTripsTheOutputOfFacts) {
  const Facts facts = exampleFacts();
  Facts other = facts;
  other.name = "other";
  other.preferredLanguages.clear();
  other.promptCounts.values->clear();
  other.applications = {{"com.apple.mail", {{"Mail", 8, "/Mail"}}}, {"com.x", {{}, {}, {}}}};
  other.availableOSUpdates->pop_back();
  FactsReader reader;
  EXPECT_FALSE(reader.read(R"({"\u0061b":"c\nd\q"})"));
  for (const Facts& each :
       {Facts(), facts, other, facts, facts, Facts()}) {  // nothing stays behind
    const std::string line = agent_tool::factsAsJSON(each);
    EXPECT_EQ(line.contains("name\":\"other"), each.name.has_value());
    const auto read = reader.read(line);
    ASSERT_TRUE(read) << read.error().what();
    EXPECT_EQ(agent_tool::factsAsJSON(**read), agent_tool::factsAsJSON(each));
    EXPECT_EQ(**read, each);
  }
}

TEST(FactsReaderTest, ReadsMembersInAnyOrderAndIgnoresUnknownOnes) {
  FactsReader reader;
  const auto read = reader.read(
      R"({"name":"\u006dac-7","else":[{"\u0061":1}],"\u0063onsoleUser":"\u0078","macOSMajorVersion":14,)"
      R"("appleSilicon":false,"version":1,"softwareUpdateReachable":false,"utcOffset":null,)"
      R"("applications":{"com.x":[{"pid":1}],"com.a":[],"com.x":[{"pid":2}]},)"
      R"("softwareUpdateReachable":true})");
  ASSERT_TRUE(read) << read.error().what();
  EXPECT_EQ((*read)->name, "mac-7");
  EXPECT_EQ((*read)->consoleUser, "x");
  EXPECT_EQ((*read)->softwareUpdateReachable, true);
  EXPECT_EQ((*read)->applications.at("com.x").at(0).processIdentifier, 2);
  EXPECT_EQ((*read)->applications.size(), 2U);
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
        BadLine{NEEDED R"("powerSource":{"kind":"battery"}})",
                R"(powerSource: expected the member "percentage", found none)"},
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
        BadLine{NEEDED R"("x":1e99999999999})",
                "expected a number that fits a double, found one with a huge exponent"}));

}  // namespace
