#include "AgentLibraries/FileCodec/JSONReader.h"

#include <algorithm>
#include <boost/system/errc.hpp>
#include <cstdint>

#include "AgentLibraries/FileCodec/IgnoredParserEvents.h"
#include "AgentLibraries/FileCodec/JSONDiagnosis.h"

namespace FileCodec {
namespace {

namespace json = boost::json;

constexpr std::size_t kMaximumDepth = 512;

/// Forwards the parser's events, joining the parts of strings with escapes.
class Handler : public IgnoredParserEvents {
 public:
  explicit Handler(JSONEvents& events) : events_(events) {}
  [[nodiscard]] bool stopped() const noexcept { return stopped_; }

  bool on_object_begin(Error& error) { return continueIf(events_.beginObject(), error); }
  bool on_object_end(std::size_t, Error& error) { return continueIf(events_.endObject(), error); }
  bool on_array_begin(Error& error) { return continueIf(events_.beginArray(), error); }
  bool on_array_end(std::size_t, Error& error) { return continueIf(events_.endArray(), error); }
  bool on_key_part(View part, std::size_t, Error&) { return keep(part); }
  bool on_key(View last, std::size_t, Error& error) {
    return continueIf(events_.memberName(whole(last)), error);
  }
  bool on_string_part(View part, std::size_t, Error&) { return keep(part); }
  bool on_string(View last, std::size_t, Error& error) {
    return continueIf(events_.string(whole(last)), error);
  }
  bool on_int64(std::int64_t, View, Error& error) { return continueIf(events_.number(), error); }
  bool on_uint64(std::uint64_t, View, Error& error) { return continueIf(events_.number(), error); }
  bool on_double(double, View, Error& error) { return continueIf(events_.number(), error); }
  bool on_bool(bool, Error& error) { return continueIf(events_.boolean(), error); }
  bool on_null(Error& error) { return continueIf(events_.null(), error); }

 private:
  bool continueIf(bool wanted, Error& error) {
    if (!wanted) [[unlikely]] {
      stopped_ = true;
      error = boost::system::errc::make_error_code(boost::system::errc::operation_canceled);
    }
    return wanted;
  }

  bool keep(View part) {
    joined_.append(part.data(), part.size());
    return true;
  }

  /// The whole string, of which `last` is the last or only part; valid until the next string.
  std::string_view whole(View last) {
    if (joined_.empty()) [[likely]] {
      return {last.data(), last.size()};
    }
    whole_.swap(joined_.append(last.data(), last.size()));
    joined_.clear();
    return whole_;
  }

  JSONEvents& events_;
  std::string joined_;  // the parts of the current string
  std::string whole_;
  bool stopped_ = false;
};

}  // namespace

JSONReading readJSON(std::string_view text, JSONEvents& events,
                     std::optional<std::string_view> unchanged) {
  const std::string_view original = withoutByteOrderMark(unchanged.value_or(text));
  text = withoutByteOrderMark(text);
  json::parse_options options;
  options.max_depth = kMaximumDepth;
  json::basic_parser<Handler> parser(options, events);
  boost::system::error_code error;
  const std::size_t consumed = parser.write_some(false, text.data(), text.size(), error);
  if (parser.handler().stopped()) {
    return {.outcome = JSONOutcome::stoppedByEvents};
  }
  if (!error && consumed == text.size()) {
    return {};
  }
  if (error == json::error::exponent_overflow) {
    return {.outcome = JSONOutcome::hugeExponent};
  }
  JSONReading reading = error == json::error::too_deep
                            ? JSONReading{.expected = "at most " + std::to_string(kMaximumDepth) +
                                                      " levels of nesting",
                                          .found = "a deeper one",
                                          .offset = consumed}
                            : diagnoseJSON(original, consumed);
  reading.outcome = JSONOutcome::syntaxError;
  const std::string_view before = original.substr(0, reading.offset);
  reading.line = static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1;
  reading.column = before.size() - (before.rfind('\n') + 1) + 1;
  return reading;
}

std::string withShortExponents(std::string text) {
  constexpr std::size_t kMostDigits = 5;
  bool inString = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (inString && c == '\\') {
      ++at;  // and the escaped character
    } else if (c == '"') {
      inString = !inString;
    } else if (!inString && (c == 'e' || c == 'E')) {
      std::size_t first = at + 1;
      first += std::string_view("+-").contains(text[first]) ? 1 : 0;
      const std::size_t end = std::min(text.find_first_not_of("0123456789", first), text.size());
      if (end - first > kMostDigits) {
        text.replace(first, end - first, end - first, '0');
      }
      at = end - 1;
    }
  }
  return text;
}

DecodingError syntaxError(const std::string& file, const JSONReading& reading) {
  return {file,
          "line " + std::to_string(reading.line) + ", column " + std::to_string(reading.column),
          reading.expected, reading.found};
}

}  // namespace FileCodec
