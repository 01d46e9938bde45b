#include "AgentTool/FactsRecord.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstdint>
#include <utility>

#include "AgentLibraries/FileCodec/JSONReader.h"  // kByteOrderMark
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/JSONMembers.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using LogCore::text;
using Type = JSONValue::Type;
using Place = JSONPlace;

constexpr std::int64_t kVersion = 1;

/// Reads "2026-11-24T10:11:12Z".
std::optional<platform::Moment> momentOf(std::string_view text) {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  if (text.size() != kForm.size()) {
    return std::nullopt;
  }
  for (std::size_t at = 0; at < kForm.size(); ++at) {
    const bool fits = kForm[at] == 'd' ? text[at] >= '0' && text[at] <= '9' : text[at] == kForm[at];
    if (!fits) {
      return std::nullopt;
    }
  }
  const auto number = [&](std::size_t at, std::size_t digits) {
    int value = 0;
    for (const char digit : text.substr(at, digits)) {
      value = value * 10 + (digit - '0');
    }
    return value;
  };
  const std::chrono::year_month_day day(std::chrono::year(number(0, 4)),
                                        std::chrono::month(static_cast<unsigned>(number(5, 2))),
                                        std::chrono::day(static_cast<unsigned>(number(8, 2))));
  const int hour = number(11, 2);
  const int minute = number(14, 2);
  const int second = number(17, 2);
  if (!day.ok() || hour > 23 || minute > 59 || second > 59) {
    return std::nullopt;
  }
  return platform::Moment(std::chrono::sys_days(day)) + std::chrono::hours(hour) +
         std::chrono::minutes(minute) + std::chrono::seconds(second);
}

vexlo::PowerSource powerSourceOf(const JSONValue& value, const Place& place) {
  const JSONValue* const kind = value.find("kind");
  if (kind == nullptr) {
    reject(value, place, R"(an object with the member "kind")");
  }
  if (kind->string() == "mains") {
    return vexlo::AcPower{};
  }
  if (kind->string() != "battery") {
    reject(*kind, {.around = &place, .member = "kind"}, R"("mains" or "battery")");
  }
  const JSONValue* const percentage = value.find("percentage");
  if (percentage == nullptr) {
    reject(value, place, R"(an object with the member "percentage")");
  }
  return vexlo::BatteryPower{takeInteger(*percentage, {.around = &place, .member = "percentage"})};
}

vxutils::EnrollmentType enrollmentOf(const JSONValue& value, const Place& place) {
  if (value.string() == "not_enrolled") {
    return vxutils::EnrollmentType::not_enrolled;
  }
  if (value.string() == "user_approved") {
    return vxutils::EnrollmentType::user_approved;
  }
  if (value.string() == "dep") {
    return vxutils::EnrollmentType::dep;
  }
  reject(value, place, R"("not_enrolled", "user_approved", "dep" or null)");
}

RecordedSettings settingsOf(const JSONValue& value, const Place& place) {
  std::optional<std::string_view> file;
  const JSONValue* values = nullptr;
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                if (name == "file") {
                  file = takeOptionalString(member, memberPlace);
                } else if (name == "values") {
                  values = isPresent(member, Type::object, memberPlace) ? &member : nullptr;
                }
              });
  return {file, values};
}

void takeAgent(const JSONValue& value, const Place& place, FactsRecord& record) {
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                if (name == "base") {
                  record.baseDirectory = takeOptionalString(member, memberPlace);
                } else if (name == "data") {
                  record.dataDirectory = takeOptionalString(member, memberPlace);
                } else if (name == "logs") {
                  record.logDirectory = takeOptionalString(member, memberPlace);
                } else if (name == "serviceAnswers") {
                  record.agentServiceAnswers = takeBoolean(member, memberPlace);
                }
              });
}

RecordedInstance instanceOf(const JSONValue& value, const Place& place) {
  RecordedInstance instance;
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                if (name == "name") {
                  instance.name = takeOptionalString(member, memberPlace);
                } else if (name == "executable") {
                  instance.executable = takeOptionalString(member, memberPlace);
                } else if (name == "pid") {
                  instance.processIdentifier =
                      takeInteger<std::int32_t>(member, memberPlace, "signed 32-bit");
                }
              });
  return instance;
}

void takeApplications(const JSONValue& value, const Place& place, FactsRecord& record) {
  record.applications.clear();
  record.instances.clear();
  takeMembers(
      value, place, [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
        const std::size_t first = record.instances.size();
        takeElements(member, memberPlace, [&](const JSONValue& element, const Place& elementPlace) {
          record.instances.push_back(instanceOf(element, elementPlace));
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
    RecordedUpdate& update = record.availableOSUpdates.emplace_back();
    takeMembers(element, elementPlace,
                [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                  if (name == "build") {
                    update.build = takeOptionalString(member, memberPlace);
                  } else if (name == "deferredUntil") {
                    update.deferredUntil = takeOptionalString(member, memberPlace);
                  } else if (name == "productKey") {
                    update.productKey = takeOptionalString(member, memberPlace);
                  } else if (name == "version") {
                    update.version = takeOptionalString(member, memberPlace);
                  }
                });
  });
}

struct Member {
  std::string_view name;
  bool isNeeded;
  void (*take)(const JSONValue&, const Place&, FactsRecord&);
};

/// In the order of `facts --json`, which doesn't write the last one.
constexpr std::array kMembers{
    Member{"version", true,
           [](const JSONValue& value, const Place& place, FactsRecord&) {
             if (value.integer() != kVersion) {
               reject(value, place, text("the version ", kVersion));
             }
           }},
    Member{"time", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.time = value.string().and_then(momentOf);
             if (!record.time && !value.isNull()) {
               reject(value, place, R"(a time such as "2026-11-24T10:11:12Z", or null)");
             }
           }},
    Member{"utcOffset", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.offsetFromUTC =
                 std::chrono::seconds(value.isNull() ? 0 : takeInteger(value, place));
           }},
    Member{"promptDay", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.promptDay = takeOptionalString(value, place);
           }},
    Member{"appleSilicon", true,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.isAppleSilicon = takeBoolean(value, place);
           }},
    Member{"macOSVersion", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.macOSVersion = takeOptionalString(value, place);
           }},
    Member{"macOSMajorVersion", true,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.macOSMajorVersion = takeInteger(value, place);
           }},
    Member{"preferredLanguages", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.preferredLanguages.clear();
             takeElements(value, place, [&](const JSONValue& element, const Place& elementPlace) {
               record.preferredLanguages.push_back(takeString(element, elementPlace));
             });
           }},
    Member{"powerSource", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.powerSource.reset();
             if (isPresent(value, Type::object, place)) {
               record.powerSource = powerSourceOf(value, place);
             }
           }},
    Member{"freeDiskSpace", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.freeDiskSpace.reset();
             if (!value.isNull()) {
               record.freeDiskSpace = takeInteger(value, place);
             }
           }},
    Member{"consoleUser", true,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.consoleUser = takeString(value, place);
           }},
    Member{"consoleUserID", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.consoleUserID.reset();
             if (!value.isNull()) {
               record.consoleUserID = takeInteger<std::uint32_t>(value, place, "unsigned 32-bit");
             }
           }},
    Member{"loggedOnUsers", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.loggedOnUsers = takeOptionalString(value, place);
           }},
    Member{"mdmEnrollment", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.mdmEnrollment.reset();
             if (!value.isNull()) {
               record.mdmEnrollment = enrollmentOf(value, place);
             }
           }},
    Member{"agent", false, takeAgent},
    Member{"patchData", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.patchData = settingsOf(value, place);
           }},
    Member{"customization", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.customization = settingsOf(value, place);
           }},
    Member{"promptCounts", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.promptCounts = settingsOf(value, place);
           }},
    Member{"applications", false, takeApplications},
    Member{"allApplications", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.allApplicationsAreKnown = !value.isNull() && takeBoolean(value, place);
           }},
    Member{"softwareUpdateReachable", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.softwareUpdateReachable.reset();
             if (!value.isNull()) {
               record.softwareUpdateReachable = takeBoolean(value, place);
             }
           }},
    Member{"softwareUpdateStatus", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.softwareUpdateStatus.reset();
             if (!value.isNull()) {
               record.softwareUpdateStatus =
                   takeInteger<std::int32_t>(value, place, "signed 32-bit");
             }
           }},
    Member{"availableOSUpdates", false, takeUpdates},
    Member{"name", false,
           [](const JSONValue& value, const Place& place, FactsRecord& record) {
             record.name = takeOptionalString(value, place);
           }},
};

constexpr std::uint32_t neededMembers() {
  std::uint32_t needed = 0;
  for (std::size_t index = 0; index < kMembers.size(); ++index) {
    needed |= kMembers[index].isNeeded ? 1U << index : 0U;
  }
  return needed;
}

/// The member's index in the table, or the table's size. Members are nearly always in the table's
/// order, so the search starts after the previous one.
std::size_t indexOf(std::string_view name, std::size_t expected) {
  for (std::size_t step = 0; step < kMembers.size(); ++step) {
    std::size_t index = expected + step;
    index -= index >= kMembers.size() ? kMembers.size() : 0;
    if (kMembers[index].name == name) {
      return index;
    }
  }
  return kMembers.size();
}

/// Clears the record but keeps its memory.
void forget(FactsRecord& record) {
  FactsRecord empty;
  std::swap(empty.preferredLanguages, record.preferredLanguages);
  std::swap(empty.availableOSUpdates, record.availableOSUpdates);
  std::swap(empty.applications, record.applications);
  std::swap(empty.instances, record.instances);
  empty.preferredLanguages.clear();
  empty.availableOSUpdates.clear();
  empty.applications.clear();
  empty.instances.clear();
  record = std::move(empty);
}

void take(const JSONValue& line, FactsRecord& record) {
  if (line.type() != Type::object) {
    throw DecodingError({}, {}, "an object", describeFound(line));
  }
  std::uint32_t seen = 0;
  std::size_t next = 0;
  line.forEachMember([&](std::string_view name, const JSONValue& value) {
    const std::size_t index = indexOf(name, next);
    if (index < kMembers.size()) {
      kMembers[index].take(value, {.member = name}, record);
      seen |= 1U << index;
      next = index + 1;
    }
  });
  if (const std::uint32_t missing = neededMembers() & ~seen; missing != 0) {
    const auto& first = kMembers[static_cast<std::size_t>(std::countr_zero(missing))];
    throw DecodingError({}, {}, text("the member \"", first.name, '"'), "none");
  }
}

}  // namespace

std::optional<platform::PropertyList> RecordedSettings::value(std::string_view key) const {
  const JSONValue* const found = values_ != nullptr ? values_->find(key) : nullptr;
  return found != nullptr ? std::optional(found->propertyList()) : std::nullopt;
}

std::optional<platform::PropertyList::Dictionary> RecordedSettings::dictionary() const {
  if (values_ == nullptr) {
    return std::nullopt;
  }
  platform::PropertyList::Dictionary dictionary;
  values_->forEachMember([&](std::string_view name, const JSONValue& value) {
    dictionary.insert_or_assign(std::string(name), value.propertyList());
  });
  return dictionary;
}

std::optional<std::span<const RecordedInstance>> FactsRecord::instancesOf(
    std::string_view bundleIdentifier) const {
  const auto last = std::ranges::find(applications.rbegin(), applications.rend(), bundleIdentifier,
                                      &Application::bundleIdentifier);
  if (last == applications.rend()) {
    return allApplicationsAreKnown ? std::optional(std::span<const RecordedInstance>())
                                   : std::nullopt;
  }
  return std::span(instances).subspan(last->firstInstance, last->instanceCount);
}

std::expected<const FactsRecord*, DecodingError> FactsReader::read(std::string_view line) {
  if (line.starts_with(FileCodec::kByteOrderMark)) {
    line.remove_prefix(FileCodec::kByteOrderMark.size());
  }
  const JSONValue* const root = document_.read(line);
  if (root == nullptr) {
    return std::unexpected(whyNoJSON(line));
  }
  forget(record_);
  try {
    take(*root, record_);
  } catch (DecodingError& error) {
    return std::unexpected(std::move(error));
  }
  return &record_;
}

}  // namespace agent_tool
