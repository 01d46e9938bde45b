// Reads JSON strictly as a stream of events; no tree is made.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

#include "AgentLibraries/FileCodec/DecodingError.h"

namespace FileCodec {

/// Receives the events of one JSON text in order. An event that returns false ends the reading.
/// A string or member name without escapes is a view into the text itself and lives as long as
/// that; with escapes it is decoded and lives only during the call.
class JSONEvents {
 public:
  virtual ~JSONEvents() = default;
  virtual bool beginObject() = 0;
  virtual bool memberName(std::string_view name) = 0;
  virtual bool endObject() = 0;
  virtual bool beginArray() = 0;
  virtual bool endArray() = 0;
  virtual bool string(std::string_view value) = 0;
  virtual bool number() = 0;
  virtual bool boolean() = 0;
  virtual bool null() = 0;
};

enum class JSONOutcome : unsigned char {
  complete,
  stoppedByEvents,
  syntaxError,
  hugeExponent,  ///< A number with an exponent that the parser can't take: `withShortExponents`.
};

/// The end of a reading. Of a syntax error it says what was expected and found («":" after the
/// member name», «"}"») and where: `line` and `column` count from 1, columns in bytes. `offset`
/// and `column` don't count a byte order mark.
struct JSONReading {
  JSONOutcome outcome = JSONOutcome::complete;
  std::string expected;
  std::string found;
  std::size_t offset = 0;
  std::size_t line = 0;
  std::size_t column = 0;
};

/// UTF-8 text may begin with it; it is no part of the JSON.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Reads one JSON text (RFC 8259: UTF-8, no comments, nothing but blanks after the value), at most
/// 512 levels deep. A byte order mark before it is skipped.
[[nodiscard]] JSONReading readJSON(std::string_view text, JSONEvents& events);

/// The text with zeros in the place of overlong exponents, for another reading after
/// `hugeExponent`: no event tells a number's value. All else keeps its place.
[[nodiscard]] std::string withShortExponents(std::string text);

/// The error for a reading of `file` that ended in a syntax error.
[[nodiscard]] DecodingError syntaxError(const std::string& file, const JSONReading& reading);

}  // namespace FileCodec
