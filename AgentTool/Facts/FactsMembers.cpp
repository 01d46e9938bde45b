#include "AgentTool/Facts/FactsMembers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "AgentTool/Facts/FactsValues.h"

namespace agent_tool {
namespace {

using FileCodec::JSONObject;
using LogCore::text;
using Place = JSONPlace;

constexpr std::int64_t kVersion = 1;  // incremented if a member changes its meaning or is removed

std::string agentAsJSON(const Facts& facts) {
  return JSONObject()
      .addJSON("base", asJSON(facts.directories.base))
      .addJSON("data", asJSON(facts.directories.data))
      .addJSON("logs", asJSON(facts.directories.logs))
      .addJSON("serviceAnswers", asJSON(facts.agentServiceAnswers))
      .done();
}

void takeAgent(const JSONValue& value, const Place& place, FactsRecord& record) {
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                if (name == "base") {
                  take(member, memberPlace, record.baseDirectory);
                } else if (name == "data") {
                  take(member, memberPlace, record.dataDirectory);
                } else if (name == "logs") {
                  take(member, memberPlace, record.logDirectory);
                } else if (name == "serviceAnswers") {
                  take(member, memberPlace, record.agentServiceAnswers);
                }
              });
}

std::string inForceAsJSON(const Facts& facts) {
  return JSONObject()
      .addJSON("alwaysKillApps", asJSON(facts.inForce.alwaysKillApps))
      .addJSON("prompt", asJSON(facts.inForce.prompt))
      .addJSON("deferralCheckDisabled", asJSON(facts.inForce.deferralCheckDisabled))
      .addJSON("patchingViaMDM", asJSON(facts.inForce.patchingViaMDM))
      .done();
}

std::string applicationsAsJSON(const Facts& facts) {
  JSONObject applications;
  for (const auto& [identifier, instances] : facts.applications) {
    applications.addJSON(identifier, asJSON(instances));
  }
  return applications.done();
}

void takeApplications(const JSONValue& value, const Place& place, FactsRecord& record) {
  record.applications.clear();
  record.instances.clear();
  takeMembers(
      value, place, [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
        const std::size_t first = record.instances.size();
        takeElements(member, memberPlace, [&](const JSONValue& element, const Place& elementPlace) {
          take(element, elementPlace, record.instances.emplace_back());
        });
        record.applications.push_back({.bundleIdentifier = name,
                                       .firstInstance = first,
                                       .instanceCount = record.instances.size() - first});
      });
}

void takeUpdates(const JSONValue& value, const Place& place, FactsRecord& record) {
  record.updatesAreKnown = !value.isNull();
  record.availableOSUpdates.clear();
  takeElements(value, place, [&](const JSONValue& element, const Place& elementPlace) {
    take(element, elementPlace, record.availableOSUpdates.emplace_back());
  });
}

/// In decimal gigabytes, as used by the disk check.
std::string gigabytes(std::int64_t bytes) {
  constexpr std::int64_t kHundredth = 10'000'000;
  const std::int64_t hundredths = bytes / kHundredth;
  return text(hundredths / 100, '.', hundredths % 100 < 10 ? "0" : "", hundredths % 100, " GB (",
              bytes, " bytes)");
}

// Rows

template <typename Value>
constexpr bool kIsOptional = false;
template <typename Value>
constexpr bool kIsOptional<std::optional<Value>> = true;

/// A fact that is stored in `Facts` as the member `written` and in `FactsRecord` as the member
/// `taken`.
template <auto written, auto taken = written>
constexpr FactsMember plain(std::string_view name) {
  return {.name = name,
          .write = [](const Facts& facts) { return asJSON(facts.*written); },
          .take = [](const JSONValue& value, const Place& place,
                     FactsRecord& record) { take(value, place, record.*taken); }};
}

/// The same, with a row in the table.
template <auto written, auto taken = written>
constexpr FactsMember shown(std::string_view name, std::string_view heading) {
  FactsMember member = plain<written, taken>(name);
  member.heading = heading;
  member.show = [](const Facts& facts) -> std::optional<std::string> {
    if constexpr (kIsOptional<std::remove_cvref_t<decltype(facts.*written)>>) {
      return (facts.*written).transform([](const auto& value) { return forPeople(value); });
    } else {
      return forPeople(facts.*written);
    }
  };
  return member;
}

/// A fact about the machine as a whole: the member of `PlainFacts` that stores it, and the function
/// of `vexlo::MachineFacts` that reads it.
template <auto reading, auto question>
constexpr FactsMember machineFact(std::string_view name, std::string_view heading) {
  FactsMember member = shown<reading>(name, heading);
  member.ask = [](const vexlo::MachineFacts& machine, Facts& facts) {
    facts.*reading = (machine.*question)();
    if constexpr (kIsOptional<std::remove_cvref_t<decltype(facts.*reading)>>) {
      return (facts.*reading).has_value();
    } else {
      return true;
    }
  };
  return member;
}

constexpr FactsMember needed(FactsMember member) {
  member.isNeeded = true;
  return member;
}

constexpr FactsMember shownAs(FactsMember member, std::string_view heading,
                              std::optional<std::string> (*show)(const Facts&)) {
  member.heading = heading;
  member.show = show;
  return member;
}

constexpr std::array kMembers{
    needed({.name = "version",
            .write = [](const Facts&) { return asJSON(kVersion); },
            .take =
                [](const JSONValue& value, const Place& place, FactsRecord&) {
                  if (value.integer() != kVersion) {
                    reject(value, place, text("the version ", kVersion));
                  }
                }}),
    shown<&Facts::time, &FactsRecord::time>("time", "time"),
    plain<&PlainFacts::offsetFromUTC>("utcOffset"),
    plain<&Facts::promptDay, &FactsRecord::promptDay>("promptDay"),
    needed(shownAs(machineFact<&PlainFacts::isAppleSilicon, &vexlo::MachineFacts::isAppleSilicon>(
                       "appleSilicon", ""),
                   "processor",
                   [](const Facts& facts) -> std::optional<std::string> {
                     return facts.isAppleSilicon ? "Apple silicon" : "Intel";
                   })),
    shown<&Facts::macOSVersion, &FactsRecord::macOSVersion>("macOSVersion", "macOS"),
    needed(machineFact<&PlainFacts::macOSMajorVersion, &vexlo::MachineFacts::macOSMajorVersion>(
        "macOSMajorVersion", "macOS major version")),
    shown<&Facts::preferredLanguages, &FactsRecord::preferredLanguages>("preferredLanguages",
                                                                        "languages"),
    FactsMember{.name = "powerSources",
                .write = [](const Facts& facts) { return asJSON(facts.powerSources); },
                .take = nullptr},
    shown<&PlainFacts::powerSource>("powerSource", "power source"),
    shownAs(plain<&PlainFacts::freeDiskSpace>("freeDiskSpace"), "free disk space",
            [](const Facts& facts) { return facts.freeDiskSpace.transform(gigabytes); }),
    needed(shown<&Facts::consoleUser, &FactsRecord::consoleUser>("consoleUser", "console user")),
    plain<&PlainFacts::consoleUserID>("consoleUserID"),
    shown<&Facts::loggedOnUsers, &FactsRecord::loggedOnUsers>("loggedOnUsers", "logged-on users"),
    shown<&PlainFacts::mdmEnrollment>("mdmEnrollment", "MDM enrollment"),
    FactsMember{.name = "agent", .write = agentAsJSON, .take = takeAgent},
    plain<&Facts::patchData, &FactsRecord::patchData>("patchData"),
    plain<&Facts::customization, &FactsRecord::customization>("customization"),
    plain<&Facts::promptCounts, &FactsRecord::promptCounts>("promptCounts"),
    FactsMember{.name = "inForce", .write = inForceAsJSON, .take = nullptr},
    FactsMember{.name = "applications", .write = applicationsAsJSON, .take = takeApplications},
    FactsMember{.name = "allApplications",
                .write = [](const Facts& facts) { return asJSON(facts.allApplications); },
                .take =
                    [](const JSONValue& value, const Place& place, FactsRecord& record) {
                      record.allApplicationsAreKnown = !value.isNull() && takeBoolean(value, place);
                    }},
    plain<&PlainFacts::softwareUpdateReachable>("softwareUpdateReachable"),
    plain<&PlainFacts::softwareUpdateStatus>("softwareUpdateStatus"),
    FactsMember{.name = "availableOSUpdates",
                .write = [](const Facts& facts) { return asJSON(facts.availableOSUpdates); },
                .take = takeUpdates},
    FactsMember{.name = "absent",
                .write = [](const Facts& facts) { return FileCodec::jsonMap(facts.reasons); },
                .take = nullptr},
    FactsMember{.name = "name",
                .write = nullptr,
                .take = [](const JSONValue& value, const Place& place,
                           FactsRecord& record) { take(value, place, record.name); }},
};

static_assert(kMembers.size() <= 64);  // the reader has one bit for each

}  // namespace

std::span<const FactsMember> factsMembers() noexcept { return kMembers; }

}  // namespace agent_tool
