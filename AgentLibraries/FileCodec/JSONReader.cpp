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
    if (joinedIsStale_) {
      joined_.clear();
      joinedIsStale_ = false;
    }
    joined_.append(part.data(), part.size());
    return true;
  }

  /// The whole string, of which `last` is the last or only part.
  std::string_view whole(View last) {
    if (joinedIsStale_) [[likely]] {
      return {last.data(), last.size()};
    }
    joinedIsStale_ = true;
    return joined_.append(last.data(), last.size());
  }

  JSONEvents& events_;
  std::string joined_;
  bool joinedIsStale_ = true;  // joined_ has no part of the current string yet
  bool stopped_ = false;
};

JSONProblem problemAt(std::string_view text, std::size_t offset,
                      const boost::system::error_code& error) {
  if (error == json::error::too_deep) {
    return {.offset = offset,
            .expected = "at most " + std::to_string(kMaximumDepth) + " levels of nesting",
            .found = "a deeper one"};
  }
  return diagnoseJSON(text, offset);
}

}  // namespace

JSONReading readJSON(std::string_view text, JSONEvents& events) {
  return readJSON(text, events, text);
}

JSONReading readJSON(std::string_view text, JSONEvents& events, std::string_view original) {
  if (text.starts_with(kByteOrderMark)) {
    text.remove_prefix(kByteOrderMark.size());
    original.remove_prefix(kByteOrderMark.size());
  }
  json::parse_options options;
  options.max_depth = kMaximumDepth;
  json::basic_parser<Handler> parser(options, events);
  boost::system::error_code error;
  const std::size_t consumed = parser.write_some(false, text.data(), text.size(), error);
  JSONReading reading;
  if (parser.handler().stopped()) {
    reading.outcome = JSONOutcome::stoppedByEvents;
    return reading;
  }
  if (!error && consumed == text.size()) {
    return reading;
  }
  if (error == json::error::exponent_overflow) {
    reading.outcome = JSONOutcome::hugeExponent;
    return reading;
  }
  JSONProblem problem = problemAt(original, consumed, error);
  const std::string_view before = original.substr(0, problem.offset);
  return {.outcome = JSONOutcome::syntaxError,
          .expected = std::move(problem.expected),
          .found = std::move(problem.found),
          .offset = problem.offset,
          .line = static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1,
          .column = before.size() - (before.rfind('\n') + 1) + 1};
}

std::string withShortExponents(std::string text) {
  constexpr std::size_t kMostDigits = 5;
  const auto isDigit = [&](std::size_t at) {
    return at < text.size() && text[at] >= '0' && text[at] <= '9';
  };
  bool inString = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (inString && text[at] == '\\') {
      ++at;  // and the escaped character
    } else if (inString) {
      inString = text[at] != '"';
    } else if (text[at] == '"') {
      inString = true;
    } else if ((text[at] == 'e' || text[at] == 'E') && at > 0 && isDigit(at - 1)) {
      std::size_t first = at + 1;
      first += first < text.size() && (text[first] == '+' || text[first] == '-') ? 1 : 0;
      std::size_t end = first;
      while (isDigit(end)) {
        ++end;
      }
      if (end - first > kMostDigits) {
        std::fill(text.begin() + static_cast<std::ptrdiff_t>(first),
                  text.begin() + static_cast<std::ptrdiff_t>(end), '0');
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
