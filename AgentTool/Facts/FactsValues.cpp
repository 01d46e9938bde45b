#include "AgentTool/Facts/FactsValues.h"

#include <utility>
#include <variant>

#include "AgentTool/Console/PrintableText.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace agent_tool {
namespace {

using FileCodec::JSONObject;
using LogCore::text;
using vexlo::Overloaded;
using Type = JSONValue::Type;
using Place = JSONPlace;

std::string_view nameOf(vxutils::EnrollmentType type) {
  switch (type) {
    case vxutils::EnrollmentType::not_enrolled:
      return "not_enrolled";
    case vxutils::EnrollmentType::user_approved:
      return "user_approved";
    case vxutils::EnrollmentType::dep:
      return "dep";
  }
  std::unreachable();
}

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

}  // namespace

// Writing

std::string asJSON(platform::Moment time) { return FileCodec::jsonString(forPeople(time)); }

std::string asJSON(const vexlo::PowerSource& source) {
  return std::visit(Overloaded{[](const vexlo::AcPower&) {
                                 return JSONObject().addString("kind", "mains").done();
                               },
                               [](const vexlo::BatteryPower& battery) {
                                 return JSONObject()
                                     .addString("kind", "battery")
                                     .addJSON("percentage", text(battery.percentage))
                                     .done();
                               }},
                    source);
}

std::string asJSON(vxutils::EnrollmentType type) { return FileCodec::jsonString(nameOf(type)); }

std::string asJSON(const SettingsFile& file) {
  return JSONObject()
      .addJSON("file", file.path.empty() ? "null" : FileCodec::jsonString(file.path))
      .addJSON("values", asJSON(file.values))
      .done();
}

std::string asJSON(const ApplicationInstance& instance) {
  return JSONObject()
      .addJSON("name", asJSON(instance.name))
      .addJSON("pid", asJSON(instance.processIdentifier))
      .addJSON("executable", asJSON(instance.executable))
      .done();
}

std::string asJSON(const vexlo::AvailableOSUpdate& update) {
  return JSONObject()
      .addJSON("build", asJSON(update.build))
      .addJSON("deferredUntil", asJSON(update.deferredUntil))
      .addJSON("productKey", asJSON(update.productKey))
      .addJSON("version", asJSON(update.version))
      .done();
}

// Reading

void take(const JSONValue& value, const Place& place, std::optional<platform::Moment>& into) {
  into = value.string().and_then(momentOf);
  if (!into && !value.isNull()) {
    reject(value, place, R"(a time such as "2026-11-24T10:11:12Z", or null)");
  }
}

void take(const JSONValue& value, const Place& place, vexlo::PowerSource& into) {
  if (value.type() != Type::object) {
    reject(value, place, "an object or null");
  }
  const JSONValue* const kind = value.find("kind");
  if (kind == nullptr) {
    reject(value, place, R"(an object with the member "kind")");
  }
  if (kind->string() == "mains") {
    into = vexlo::AcPower{};
    return;
  }
  if (kind->string() != "battery") {
    reject(*kind, {.around = &place, .member = "kind"}, R"("mains" or "battery")");
  }
  const JSONValue* const percentage = value.find("percentage");
  if (percentage == nullptr) {
    reject(value, place, R"(an object with the member "percentage")");
  }
  into = vexlo::BatteryPower{takeInteger(*percentage, {.around = &place, .member = "percentage"})};
}

void take(const JSONValue& value, const Place& place, vxutils::EnrollmentType& into) {
  using enum vxutils::EnrollmentType;
  for (const vxutils::EnrollmentType type : {not_enrolled, user_approved, dep}) {
    if (value.string() == nameOf(type)) {
      into = type;
      return;
    }
  }
  reject(value, place, R"("not_enrolled", "user_approved", "dep" or null)");
}

void take(const JSONValue& value, const Place& place, std::vector<std::string_view>& into) {
  into.clear();
  takeElements(value, place, [&](const JSONValue& element, const Place& elementPlace) {
    into.push_back(takeString(element, elementPlace));
  });
}

void take(const JSONValue& value, const Place& place, RecordedSettings& into) {
  std::optional<std::string_view> file;
  const JSONValue* values = nullptr;
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                if (name == "file") {
                  take(member, memberPlace, file);
                } else if (name == "values") {
                  values = isPresent(member, Type::object, memberPlace) ? &member : nullptr;
                }
              });
  into = {file, values};
}

void take(const JSONValue& value, const Place& place, RecordedInstance& into) {
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                if (name == "name") {
                  take(member, memberPlace, into.name);
                } else if (name == "executable") {
                  take(member, memberPlace, into.executable);
                } else if (name == "pid") {
                  take(member, memberPlace, into.processIdentifier);
                }
              });
}

void take(const JSONValue& value, const Place& place, RecordedUpdate& into) {
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const Place& memberPlace) {
                if (name == "build") {
                  take(member, memberPlace, into.build);
                } else if (name == "deferredUntil") {
                  take(member, memberPlace, into.deferredUntil);
                } else if (name == "productKey") {
                  take(member, memberPlace, into.productKey);
                } else if (name == "version") {
                  take(member, memberPlace, into.version);
                }
              });
}

// For people

std::string forPeople(const std::string& text) { return printable(text); }

std::string forPeople(const std::vector<std::string>& texts) { return joinedForPeople(texts); }

std::string forPeople(vxutils::EnrollmentType type) { return std::string(nameOf(type)); }

std::string forPeople(platform::Moment time) {
  std::string out = platform::describeMoment(time);  // «2024-06-15 00:00:00 +0000»
  out.resize(out.rfind(' '));
  out[out.find(' ')] = 'T';
  return out + 'Z';
}

std::string forPeople(const vexlo::PowerSource& source) {
  return std::visit(Overloaded{[](const vexlo::AcPower&) { return std::string("mains"); },
                               [](const vexlo::BatteryPower& battery) {
                                 return text("battery, ", battery.percentage, " %");
                               }},
                    source);
}

std::string forPeople(const ApplicationInstance& instance) {
  return text("pid ", instance.processIdentifier, ", ",
              printable(instance.name.value_or("no name")), ", ",
              printable(instance.executable.value_or("executable not known")));
}

}  // namespace agent_tool
