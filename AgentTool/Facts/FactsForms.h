// The JSON forms of the types that facts have.
#pragma once
#include <array>
#include <chrono>
#include <string>
#include <string_view>
#include <utility>

#include "AgentTool/Facts/Facts.h"
#include "AgentTool/JSON/JSONFields.h"

namespace agent_tool {

template <>
struct JSONForm<platform::Moment> {
  static bool parse(const JSONValue& value, platform::Moment& into);
  static std::string expected() { return R"(a time such as "2026-11-24T10:11:12Z", or null)"; }
  static std::string write(platform::Moment time) {
    return FileCodec::jsonString(platform::timestamp(time));
  }
  static FileCodec::JSONObject schema(bool orNull);
  static std::string typeName() { return "string"; }
};

template <>
struct JSONForm<std::chrono::seconds> {
  using Form = JSONForm<std::int64_t>;
  static bool parse(const JSONValue& value, std::chrono::seconds& into);
  static std::string expected() { return Form::expected(); }
  static std::string write(std::chrono::seconds duration) { return Form::write(duration.count()); }
  static FileCodec::JSONObject schema(bool orNull) { return Form::schema(orNull); }
  static std::string typeName() { return Form::typeName(); }
};

/// A property-list value with its type: docs/FACTS.md says how.
template <>
struct JSONForm<platform::PropertyList> {
  static void read(const JSONValue& value, const JSONPlace& place, platform::PropertyList& into);
  static std::string write(const platform::PropertyList& value);
  static FileCodec::JSONObject schema(bool orNull);
  static std::string typeName() { return "property-list value"; }
};

/// `{"kind":"mains"}` or `{"kind":"battery","percentage":82}`
template <>
struct JSONForm<vexlo::PowerSource> {
  static void read(const JSONValue& value, const JSONPlace& place, vexlo::PowerSource& into);
  static std::string write(const vexlo::PowerSource& source);
  static FileCodec::JSONObject schema(bool orNull);
  static std::string typeName() { return "object"; }
};

template <>
struct JSONNames<vxutils::EnrollmentType> {
  static constexpr std::array list{
      NamedValue{vxutils::EnrollmentType::not_enrolled, "not_enrolled"},
      NamedValue{vxutils::EnrollmentType::user_approved, "user_approved"},
      NamedValue{vxutils::EnrollmentType::dep, "dep"}};
};

template <>
struct JSONFields<AgentState> {
  static constexpr std::array list{
      field<&AgentState::base>("base"), field<&AgentState::data>("data"),
      field<&AgentState::logs>("logs"), field<&AgentState::serviceAnswers>("serviceAnswers"),
      field<&AgentState::credentialsStored>("credentialsStored")};
};

template <>
struct JSONFields<SettingsFile> {
  static constexpr const char* typeName = "settings file";
  static constexpr std::array list{field<&SettingsFile::file>("file"),
                                   field<&SettingsFile::values>("values")};
};

template <>
struct JSONFields<SettingsInForce> {
  static constexpr std::array list{
      field<&SettingsInForce::alwaysKillApps>("alwaysKillApps"),
      field<&SettingsInForce::prompt>("prompt"),
      field<&SettingsInForce::deferralCheckDisabled>("deferralCheckDisabled"),
      field<&SettingsInForce::patchingViaMDM>("patchingViaMDM")};
};

template <>
struct JSONFields<ApplicationInstance> {
  static constexpr std::array list{field<&ApplicationInstance::name>("name"),
                                   field<&ApplicationInstance::processIdentifier>("pid"),
                                   field<&ApplicationInstance::executable>("executable")};
};

template <>
struct JSONFields<vexlo::AvailableOSUpdate> {
  static constexpr std::array list{field<&vexlo::AvailableOSUpdate::build>("build"),
                                   field<&vexlo::AvailableOSUpdate::deferredUntil>("deferredUntil"),
                                   field<&vexlo::AvailableOSUpdate::productKey>("productKey"),
                                   field<&vexlo::AvailableOSUpdate::version>("version")};
};

}  // namespace agent_tool
