#include <gmock/gmock.h>

#include <boost/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "AgentTool/Facts/Facts.h"

using agent_tool::Facts;
using agent_tool::FactsReader;

namespace {

/// A line as `facts` writes it, with every member that is read.
constexpr const char* kExample =
    R"({"version":1,"time":"2026-11-24T23:59:59Z","utcOffset":-3600,"promptDay":"24-11-2026",)"
    R"("appleSilicon":true,"macOSVersion":"14.4.1","macOSMajorVersion":14,)"
    R"("preferredLanguages":["en-US","d\"e"],"powerSources":[],)"
    R"("powerSource":{"kind":"battery","percentage":82},"freeDiskSpace":64000000000,)"
    R"("consoleUser":"alice","consoleUserID":501,"loggedOnUsers":"alice,bob","mdmEnrollment":"dep",)"
    R"("agent":{"base":"/Library/Agent","data":null,"logs":null,"serviceAnswers":true,)"
    R"("credentialsStored":false},"patchData":{"file":"/Library/Agent/data.plist",)"
    R"("values":{"AlwaysKillApps":true}},"customization":{"file":null,"values":null},)"
    R"("promptCounts":{"file":null,"values":{"a\tb":{"data":{"$data":"a0"},"date":{"$date":1.5},)"
    R"("infinite":{"$real":"-inf"},"large":18446744073709551615,"list":["x",-1,true],)"
    R"("real":0.1,"whole":1.0}}},)"
    R"("inForce":{"alwaysKillApps":false,"prompt":false,"deferralCheckDisabled":false,)"
    R"("patchingViaMDM":false},"applications":{"com.apple.Safari":[{"name":"Safari","pid":7,)"
    R"("executable":"/Applications/Safari"},{"name":null,"pid":0,"executable":null}],)"
    R"("com.apple.mail":[]},"allApplications":false,"softwareUpdateReachable":false,)"
    R"("softwareUpdateStatus":1,"softwareUpdateLabels":["macOS Sonoma 14.5-23F79"],)"
    R"("availableOSUpdates":[{"build":null,"deferredUntil":"2024-06-15 00:00:00 +0000",)"
    R"("productKey":null,"version":"14.5"},{"build":null,"deferredUntil":null,"productKey":null,)"
    R"("version":null}],"updatesListed":true,)"
    R"("installAssistants":["/Applications/Install macOS Sonoma.app"],"absent":{}})"
    "\n";

TEST(FactsReaderTest, RoundTripsTheOutputOfFacts) {
  FactsReader reader;
  const Facts facts = *reader.read(kExample).value();
  const auto written = boost::json::parse(agent_tool::factsAsJSON(facts));
  const auto example = boost::json::parse(kExample);
  for (const auto& [name, value] : example.as_object()) {
    EXPECT_EQ(written.at(name), value) << name;
  }
  Facts described;  // written only
  described.powerSources = {{"x"}, {std::int64_t{1}}};
  EXPECT_THAT(agent_tool::factsAsJSON(described), testing::HasSubstr(R"("powerSources":["x",1],)"));
  Facts other = facts;
  other.name = "other";
  other.preferredLanguages.clear();
  other.promptCounts.values->clear();
  other.applications = {{"com.apple.mail", {{"Mail", 8, "/Mail"}}}, {"com.x", {{}, {}, {}}}};
  other.availableOSUpdates->pop_back();
  EXPECT_FALSE(reader.read(R"({"\u0061b":"c\nd\q"})"));
  for (const Facts& each :
       {Facts(), facts, other, facts, facts, Facts()}) {  // nothing stays behind
    const std::string line = agent_tool::factsAsJSON(each);
    EXPECT_EQ(line.contains("name\":\"other"), each.name.has_value());
    const auto read = reader.read(line);
    ASSERT_TRUE(read) << read.error().what();
    EXPECT_EQ(agent_tool::factsAsJSON(**read), agent_tool::factsAsJSON(each));
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

// The required members of a line.
#define NEEDED R"({"version":1,"appleSilicon":true,"macOSMajorVersion":14,"consoleUser":"a",)"

TEST(FactsReaderTest, NestedValuesAreReadOnce) {
  std::string value = "1.5";
  for (int level = 0; level < 400; ++level) {  // twice each would never end
    value = R"({"$date":)" + value + '}';
  }
  EXPECT_TRUE(FactsReader().read(NEEDED R"("patchData":{"values":{"x":)" + value + "}}}"));
}

TEST(FactsReaderTest, ErrorHasPlaceAndExpectation) {
  FactsReader reader;
  for (const auto& [line, error] : std::vector<std::pair<std::string, std::string>>{
           {"", "column 1: expected a value, found the end of the text"},
           {R"({"version" 1})", R"(column 12: expected ":" after the member name, found "1")"},
           {"[1]", "expected an object, found an array"},
           {R"({"version":2})", "version: expected the version 1, found the integer 2"},
           {R"({"version":1,"appleSilicon":true})",
            R"(expected the member "macOSMajorVersion", found none)"},
           {NEEDED R"("powerSource":{"kind":"battery","percentage":8.5}})",
            "powerSource › percentage: expected an integer of the signed 64-bit range, found a "
            "real number"},
           {NEEDED R"("powerSource":{"kind":"battery"}})",
            R"(powerSource: expected the member "percentage", found none)"},
           {NEEDED R"("powerSource":{"kind":"sun"}})",
            R"(powerSource › kind: expected "mains" or "battery", found "sun")"},
           {NEEDED R"("time":"2026-02-30T10:11:12Z"})",
            R"(time: expected a time such as "2026-11-24T10:11:12Z", or null, found )"
            R"("2026-02-30T10:11:12Z")"},
           {NEEDED R"("applications":{"com.x":[{"pid":1},{"pid":2147483648}]}})",
            "applications › com.x › [1] › pid: expected an integer of the signed 32-bit range, "
            "found the integer 2147483648"},
           {NEEDED R"("customization":{"values":[]}})",
            "customization › values: expected an object or null, found an array"},
           {NEEDED R"("x":1e99999999999})",
            "expected a number that fits a double, found one with a huge exponent"}}) {
    SCOPED_TRACE(line);
    const auto read = reader.read(line);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().what(), error);
  }
}

}  // namespace
