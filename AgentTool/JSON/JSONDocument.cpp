#include "AgentTool/JSON/JSONDocument.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

#include "AgentLibraries/FileCodec/IgnoredParserEvents.h"
#include "Platform/RealNumbers.h"

namespace agent_tool {
namespace {

constexpr std::size_t kMaximumDepth = 512;

constexpr std::string_view kBetweenTokens = " \t\r\n,:";
constexpr std::string_view kEndsOfWords = " \t\r\n,:]}";

}  // namespace

/// Stores the parser's events.
class JSONDocument::Handler : public FileCodec::IgnoredParserEvents {
 public:
  /// Decoded strings are never longer than the text, so the buffer isn't reallocated.
  void begin(std::string_view text) {
    text_ = text;
    values_.clear();
    open_.clear();
    unescaped_.clear();
    unescaped_.reserve(text.size());
    partBegin_ = kNoPart;
  }
  [[nodiscard]] const std::vector<JSONValue>& values() const { return values_; }

  bool on_object_begin(Error&) { return enter(JSONValue::Object()); }
  bool on_object_end(std::size_t, Error&) { return leave(); }
  bool on_array_begin(Error&) { return enter(JSONValue::Array()); }
  bool on_array_end(std::size_t, Error&) { return leave(); }
  bool on_key_part(View part, std::size_t, Error&) { return keep(part); }
  bool on_key(View last, std::size_t, Error&) { return string(last); }
  bool on_string_part(View part, std::size_t, Error&) { return keep(part); }
  bool on_string(View last, std::size_t, Error&) { return string(last); }
  bool on_int64(std::int64_t number, View, Error&) { return add(number); }
  bool on_uint64(std::uint64_t number, View, Error&) { return add(number); }
  bool on_double(double number, View text, Error&) {
    // The parser's own conversion may be off in the last digits.
    return add(platform::parseReal({text.data(), text.size()}).value_or(number));
  }
  bool on_bool(bool flag, Error&) { return add(flag); }
  bool on_null(Error&) { return add(nullptr); }

 private:
  static constexpr std::size_t kNoPart = std::numeric_limits<std::size_t>::max();

  bool add(JSONValue::Content content) {
    values_.emplace_back(content);
    return true;
  }
  bool enter(JSONValue::Content container) {
    open_.push_back(static_cast<std::uint32_t>(values_.size()));
    return add(container);
  }
  bool leave() {
    values_[open_.back()].extent_ = static_cast<std::uint32_t>(values_.size()) - open_.back();
    open_.pop_back();
    return true;
  }

  bool keep(View part) {
    if (partBegin_ == kNoPart) {
      partBegin_ = unescaped_.size();
    }
    unescaped_.append(part.data(), part.size());
    return true;
  }
  bool string(View last) {
    std::string_view whole(last.data(), last.size());
    // The parser decodes a string that begins with an escape into a buffer of its own.
    const bool isInText = std::less_equal()(text_.data(), last.data()) &&
                          std::less()(last.data(), text_.data() + text_.size());
    if (partBegin_ != kNoPart || !isInText) [[unlikely]] {
      keep(last);
      whole = std::string_view(unescaped_).substr(std::exchange(partBegin_, kNoPart));
    }
    return add(whole);
  }

  std::string_view text_;
  std::vector<JSONValue> values_;
  std::vector<std::uint32_t> open_;  // the arrays and objects around the next value
  std::string unescaped_;
  std::size_t partBegin_ = kNoPart;  // the start of the current string in unescaped_
};

class JSONDocument::Parser : public boost::json::basic_parser<Handler> {
 public:
  Parser() : basic_parser({.max_depth = kMaximumDepth}) {}
};

JSONDocument::JSONDocument() : parser_(std::make_unique<Parser>()) {}
JSONDocument::~JSONDocument() = default;

std::expected<const JSONValue*, FileCodec::JSONReading> JSONDocument::read(
    std::string_view text, std::string_view original) {
  const std::string_view json = FileCodec::withoutByteOrderMark(text);
  parser_->reset();
  parser_->handler().begin(json);
  boost::system::error_code error;
  const std::size_t consumed = parser_->write_some(false, json.data(), json.size(), error);
  if (!error && consumed == json.size()) {
    return parser_->handler().values().data();
  }
  FileCodec::JSONEvents events;
  FileCodec::JSONReading reading =
      FileCodec::readJSON(text, events, original.empty() ? text : original);
  if (reading.outcome == FileCodec::JSONOutcome::hugeExponent) {
    reading.expected = "a number that fits a double";
    reading.found = "one with a huge exponent";
  }
  return std::unexpected(std::move(reading));
}

std::vector<std::uint32_t> JSONDocument::offsets(std::string_view text) const {
  text = FileCodec::withoutByteOrderMark(text);
  const std::size_t count = parser_->handler().values().size();
  std::vector<std::uint32_t> offsets;
  offsets.reserve(count);
  for (std::size_t at = 0; offsets.size() < count; at += tokenLength(text, at)) {
    at = text.find_first_not_of(kBetweenTokens, at);
    if (text[at] != '}' && text[at] != ']') {
      offsets.push_back(static_cast<std::uint32_t>(at));
    }
  }
  return offsets;
}

std::size_t tokenLength(std::string_view text, std::size_t offset) {
  if (offset >= text.size()) {
    return 0;
  }
  if (text[offset] == '"') {
    std::size_t end = offset + 1;
    while (end < text.size() && text[end] != '"') {
      end += text[end] == '\\' ? 2 : 1;
    }
    return std::min(end + 1, text.size()) - offset;
  }
  if (std::string_view("{}[],:").contains(text[offset])) {
    return 1;
  }
  const std::size_t end = std::min(text.find_first_of(kEndsOfWords, offset), text.size());
  return std::max<std::size_t>(end - offset, 1);
}

std::string indented(std::string_view json) {
  constexpr auto opens = [](char c) { return c == '{' || c == '['; };
  constexpr auto closes = [](char c) { return c == '}' || c == ']'; };
  std::string out;
  std::size_t depth = 0;
  bool inOneLine = false;
  const auto breakLine = [&] { (out += '\n').append(2 * depth, ' '); };
  for (std::size_t at = 0, length = 0; at < json.size(); at += length) {
    length = tokenLength(json, at);
    const char first = json[at];
    if (first == ' ' || first == '\n') {
      continue;
    }
    if (closes(first) && !std::exchange(inOneLine, false)) {
      --depth;
      breakLine();
    }
    out += json.substr(at, length);
    if (opens(first)) {
      std::size_t next = at + 1;
      while (!opens(json[next]) && !closes(json[next])) {
        next += tokenLength(json, next);
      }
      inOneLine = closes(json[next]);
      if (!inOneLine) {
        ++depth;
        breakLine();
      }
    } else if (first == ',') {
      inOneLine ? void(out += ' ') : breakLine();
    } else if (first == ':') {
      out += ' ';
    }
  }
  return out + '\n';
}

}  // namespace agent_tool
