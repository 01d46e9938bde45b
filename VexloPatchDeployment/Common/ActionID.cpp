#include "VexloPatchDeployment/Common/ActionID.h"

#include <map>
#include <optional>
#include <ostream>
#include <utility>

#include "AgentLibraries/FileCodec/JSONReader.h"
#include "AgentLibraries/FileCodec/JSONText.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Numbers.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace vexlo {
namespace {

constexpr std::int64_t kSortOrderWithoutNumber = 999999;
constexpr std::string_view kUndefined = "undefined";
constexpr std::string_view kUndefinedPayload = "_0";

/// The action whose `part` is `text`.
std::optional<KnownAction> find(std::string_view ActionName::* part, std::string_view text) {
  for (const KnownAction action : kAllActions) {
    if (nameOf(action).*part == text) {
      return action;
    }
  }
  return std::nullopt;
}

ActionID::Value valueFor(std::string_view code) {
  if (const std::optional<KnownAction> known = find(&ActionName::code, code)) {
    return *known;
  }
  return UndefinedAction{std::string(code)};
}

/// Collects the recognised members of a serialized action. The last of duplicate members wins.
class SerializedAction final : public FileCodec::JSONEvents {
 public:
  /// The action; throws unless there was exactly one.
  [[nodiscard]] ActionID action() const {
    if (members_.size() != 1) {
      throw ActionIDDecodingError("Invalid number of keys found, expected one.");
    }
    const auto& [name, value] = *members_.begin();
    if (!value.isObject) {
      throw ActionIDDecodingError(text("Expected an object as the value of \"", name, "\"."));
    }
    if (const std::optional<KnownAction> known = find(&ActionName::name, name)) {
      return *known;
    }
    if (!value.payload) {
      throw ActionIDDecodingError(R"(Expected an object with a string "_0" under "undefined".)");
    }
    return UndefinedAction{*value.payload};
  }
  [[nodiscard]] bool rootIsObject() const { return rootIsObject_; }

  bool beginObject() override {
    if (depth_ == 0) {
      rootIsObject_ = true;
    } else if (depth_ == 1 && current_ != nullptr) {
      current_->isObject = true;
    }
    ++depth_;
    return true;
  }
  bool endObject() override {
    --depth_;
    return true;
  }
  bool beginArray() override {
    ++depth_;
    return true;
  }
  bool endArray() override {
    --depth_;
    return true;
  }
  bool memberName(std::string_view name) override {
    if (depth_ == 1) {
      const bool isRecognised = name == kUndefined || find(&ActionName::name, name);
      current_ = isRecognised ? &(members_[std::string(name)] = {}) : nullptr;
      inPayload_ = false;
    } else if (depth_ == 2) {
      inPayload_ = current_ != nullptr && name == kUndefinedPayload;
      if (inPayload_) {
        current_->payload.reset();
      }
    }
    return true;
  }
  bool string(std::string_view text) override {
    if (depth_ == 2 && inPayload_) {
      current_->payload = text;
    }
    return true;
  }

 private:
  /// What counts of a member's value.
  struct Value {
    bool isObject = false;
    std::optional<std::string> payload = std::nullopt;  ///< Of an object.
  };

  std::map<std::string, Value> members_;  // the recognised ones
  Value* current_ = nullptr;              // of the member being read, if recognised
  int depth_ = 0;
  bool inPayload_ = false;
  bool rootIsObject_ = false;
};

}  // namespace

ActionID::ActionID(std::string_view code) : value_(valueFor(code)) {}

std::int64_t ActionID::sortOrder() const {
  return parseInteger(code()).value_or(kSortOrderWithoutNumber);
}

std::string_view ActionID::code() const {
  return std::visit(
      Overloaded{[](KnownAction action) { return nameOf(action).code; },
                 [](const UndefinedAction& action) { return std::string_view(action.code); }},
      value_);
}

std::string ActionID::encode() const {
  return std::visit(
      Overloaded{[](KnownAction action) { return text("{\"", nameOf(action).name, "\":{}}"); },
                 [](const UndefinedAction& action) {
                   return text("{\"", kUndefined, "\":{\"", kUndefinedPayload,
                               "\":", FileCodec::jsonString(action.code), "}}");
                 }},
      value_);
}

ActionID ActionID::decode(std::string_view json) {
  SerializedAction serialized;
  FileCodec::JSONReading reading = FileCodec::readJSON(json, serialized);
  if (reading.outcome == FileCodec::JSONOutcome::hugeExponent) {
    serialized = {};
    reading =
        FileCodec::readJSON(FileCodec::withShortExponents(std::string(json)), serialized, json);
  }
  if (reading.outcome == FileCodec::JSONOutcome::syntaxError) {
    throw ActionIDDecodingError(text("line ", reading.line, ", column ", reading.column,
                                     ": expected ", reading.expected, ", found ", reading.found));
  }
  if (!serialized.rootIsObject()) {
    throw ActionIDDecodingError("Expected an object with one member.");
  }
  return serialized.action();
}

std::string describe(const ActionID& action) {
  return std::visit(Overloaded{[](KnownAction known) { return std::string(nameOf(known).name); },
                               [](const UndefinedAction& undefined) {
                                 return text(kUndefined, "(\"", undefined.code, "\")");
                               }},
                    action.value());
}

std::ostream& operator<<(std::ostream& out, const ActionID& action) {
  return out << describe(action);
}

}  // namespace vexlo
