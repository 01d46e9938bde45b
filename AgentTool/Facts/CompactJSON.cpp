#include "AgentTool/Facts/CompactJSON.h"

#include <boost/json/basic_parser_impl.hpp>
#include <limits>
#include <utility>

#include "Platform/RealNumbers.h"

namespace agent_tool {
namespace {

namespace json = boost::json;
using platform::PropertyList;

constexpr std::size_t kMaximumDepth = 64;

int digitOf(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::optional<PropertyList::Data> dataOf(std::string_view hexadecimal) {
  if (hexadecimal.size() % 2 != 0) {
    return std::nullopt;
  }
  PropertyList::Data data;
  data.reserve(hexadecimal.size() / 2);
  for (std::size_t at = 0; at < hexadecimal.size(); at += 2) {
    const int high = digitOf(hexadecimal[at]);
    const int low = digitOf(hexadecimal[at + 1]);
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    data.push_back(static_cast<std::byte>(high * 16 + low));
  }
  return data;
}

/// The value that an object with one member encodes, for types that JSON lacks.
std::optional<PropertyList> specialValue(std::string_view name, const JSONValue& value) {
  if (name == "$date") {
    const PropertyList seconds = value.propertyList();
    if (const auto* real = seconds.as<double>()) {
      return PropertyList(PropertyList::Value(platform::PropertyListDate{*real}));
    }
  } else if (const auto string = value.string(); name == "$data" && string) {
    if (auto data = dataOf(*string)) {
      return PropertyList(PropertyList::Value(*std::move(data)));
    }
  } else if (name == "$real" && string) {
    if (const auto real = platform::parseReal(string->substr(string->starts_with('+') ? 1 : 0))) {
      return PropertyList(PropertyList::Value(*real));
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<bool> JSONValue::boolean() const noexcept {
  return type_ == Type::boolean ? std::optional(payload_.flag) : std::nullopt;
}

std::optional<std::int64_t> JSONValue::integer() const noexcept {
  return type_ == Type::integer ? std::optional(payload_.integer) : std::nullopt;
}

std::optional<std::string_view> JSONValue::string() const noexcept {
  return type_ == Type::string ? std::optional(text()) : std::nullopt;
}

const JSONValue* JSONValue::find(std::string_view wanted) const noexcept {
  const JSONValue* found = nullptr;
  forEachMember([&](std::string_view name, const JSONValue& value) {
    if (name == wanted) {
      found = &value;
    }
  });
  return found;
}

PropertyList JSONValue::propertyList() const {
  switch (type_) {
    case Type::null:
      return {};
    case Type::boolean:
      return payload_.flag;
    case Type::integer:
      return payload_.integer;
    case Type::unsignedInteger:
      return PropertyList::Value(payload_.unsignedInteger);
    case Type::real:
      return PropertyList::Value(payload_.real);
    case Type::string:
      return std::string(text());
    case Type::array: {
      PropertyList::Array array;
      forEachElement([&](const JSONValue& value) { array.push_back(value.propertyList()); });
      return array;
    }
    case Type::object: {
      if (extent_ > 2 && extent_ == 2 + this[2].extent_) {
        if (auto special = specialValue(this[1].text(), this[2])) {
          return *std::move(special);
        }
      }
      PropertyList::Dictionary dictionary;
      forEachMember([&](std::string_view name, const JSONValue& value) {
        dictionary.insert_or_assign(std::string(name), value.propertyList());
      });
      return dictionary;
    }
  }
  std::unreachable();
}

/// Stores the parser's events.
class CompactJSON::Handler {
 public:
  static constexpr std::size_t max_array_size = -1;   // NOLINT: names that the parser asks for
  static constexpr std::size_t max_object_size = -1;  // NOLINT
  static constexpr std::size_t max_string_size = -1;  // NOLINT
  static constexpr std::size_t max_key_size = -1;     // NOLINT

  /// Decoded strings are never longer than the text, so the buffer isn't reallocated.
  void begin(std::size_t textSize) {
    values_.clear();
    open_.clear();
    unescaped_.clear();
    unescaped_.reserve(textSize);
    partBegin_ = kNoPart;
  }
  [[nodiscard]] const JSONValue& root() const { return values_.front(); }

  bool on_document_begin(json::error_code&) { return true; }
  bool on_document_end(json::error_code&) { return true; }
  bool on_object_begin(json::error_code&) { return enter(JSONValue::Type::object); }
  bool on_object_end(std::size_t, json::error_code&) { return leave(); }
  bool on_array_begin(json::error_code&) { return enter(JSONValue::Type::array); }
  bool on_array_end(std::size_t, json::error_code&) { return leave(); }
  bool on_key_part(json::string_view part, std::size_t, json::error_code&) { return keep(part); }
  bool on_key(json::string_view last, std::size_t, json::error_code&) { return string(last); }
  bool on_string_part(json::string_view part, std::size_t, json::error_code&) { return keep(part); }
  bool on_string(json::string_view last, std::size_t, json::error_code&) { return string(last); }
  bool on_number_part(json::string_view, json::error_code&) { return true; }
  bool on_int64(std::int64_t number, json::string_view, json::error_code&) {
    add(JSONValue::Type::integer).payload_.integer = number;
    return true;
  }
  bool on_uint64(std::uint64_t number, json::string_view, json::error_code&) {
    add(JSONValue::Type::unsignedInteger).payload_.unsignedInteger = number;
    return true;
  }
  bool on_double(double number, json::string_view text, json::error_code&) {
    // The parser's own conversion may be off in the last digits.
    add(JSONValue::Type::real).payload_.real =
        platform::parseReal(std::string_view(text.data(), text.size())).value_or(number);
    return true;
  }
  bool on_bool(bool flag, json::error_code&) {
    add(JSONValue::Type::boolean).payload_.flag = flag;
    return true;
  }
  bool on_null(json::error_code&) {
    add(JSONValue::Type::null);
    return true;
  }
  bool on_comment_part(json::string_view, json::error_code&) { return true; }
  bool on_comment(json::string_view, json::error_code&) { return true; }

 private:
  static constexpr std::size_t kNoPart = std::numeric_limits<std::size_t>::max();

  JSONValue& add(JSONValue::Type type) {
    JSONValue& value = values_.emplace_back();
    value.type_ = type;
    return value;
  }

  bool enter(JSONValue::Type type) {
    open_.push_back(static_cast<std::uint32_t>(values_.size()));
    add(type);
    return true;
  }
  bool leave() {
    values_[open_.back()].extent_ = static_cast<std::uint32_t>(values_.size()) - open_.back();
    open_.pop_back();
    return true;
  }

  bool keep(json::string_view part) {
    if (partBegin_ == kNoPart) {
      partBegin_ = unescaped_.size();
    }
    unescaped_.append(part.data(), part.size());
    return true;
  }
  bool string(json::string_view last) {
    std::string_view whole(last.data(), last.size());
    if (partBegin_ != kNoPart) [[unlikely]] {
      keep(last);
      whole = std::string_view(unescaped_).substr(std::exchange(partBegin_, kNoPart));
    }
    JSONValue& value = add(JSONValue::Type::string);
    value.payload_.text = whole.data();
    value.length_ = static_cast<std::uint32_t>(whole.size());
    return true;
  }

  std::vector<JSONValue> values_;
  std::vector<std::uint32_t> open_;  // the arrays and objects around the next value
  std::string unescaped_;
  std::size_t partBegin_ = kNoPart;  // the start of the current string in unescaped_
};

struct CompactJSON::Parser {
  json::basic_parser<Handler> parser{[] {
    json::parse_options options;
    options.max_depth = kMaximumDepth;
    return options;
  }()};
};

CompactJSON::CompactJSON() : parser_(std::make_unique<Parser>()) {}
CompactJSON::~CompactJSON() = default;

const JSONValue* CompactJSON::read(std::string_view text) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
    return nullptr;
  }
  auto& parser = parser_->parser;
  parser.reset();
  parser.handler().begin(text.size());
  json::error_code error;
  const std::size_t consumed = parser.write_some(false, text.data(), text.size(), error);
  return !error && consumed == text.size() ? &parser.handler().root() : nullptr;
}

}  // namespace agent_tool
