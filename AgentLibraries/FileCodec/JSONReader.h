// A strict JSON reader that reports events and builds no tree.
#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "AgentLibraries/FileCodec/DecodingError.h"

namespace FileCodec {

/// Receives the events of one JSON text in order. Returning false stops the reader. A string or
/// member name without escapes is a view into the text, followed by its closing quotation mark, and
/// lives as long as the text; one with escapes is decoded elsewhere and valid only during the call.
/// Events that a derived class doesn't override are ignored.
class JSONEvents {
 public:
  virtual ~JSONEvents() = default;
  virtual bool beginObject() { return true; }
  virtual bool memberName(std::string_view /*name*/) { return true; }
  virtual bool endObject() { return true; }
  virtual bool beginArray() { return true; }
  virtual bool endArray() { return true; }
  virtual bool string(std::string_view /*value*/) { return true; }
  virtual bool number() { return true; }
  virtual bool boolean() { return true; }
  virtual bool null() { return true; }
};

enum class JSONOutcome : unsigned char {
  complete,
  stoppedByEvents,
  syntaxError,
  hugeExponent,  ///< A number whose exponent the parser can't handle, see `withShortExponents`.
};

/// The result of reading. After a syntax error it has what was expected and found («":" after the
/// member name», «"}"») and where: `line` and `column` start at 1, columns are bytes. `offset` and
/// `column` don't count a byte order mark.
struct JSONReading {
  JSONOutcome outcome = JSONOutcome::complete;
  std::string expected;
  std::string found;
  std::size_t offset = 0;
  std::size_t line = 0;
  std::size_t column = 0;
};

/// Allowed before UTF-8 text; not part of the JSON.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
[[nodiscard]] constexpr std::string_view withoutByteOrderMark(std::string_view text) {
  return text.substr(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
}

/// Reads one JSON text (RFC 8259: UTF-8, no comments, only white space after the value), at most
/// 512 levels deep. Skips a byte order mark. Errors quote the unchanged text, if `text` comes from
/// `withShortExponents`.
[[nodiscard]] JSONReading readJSON(std::string_view text, JSONEvents& events,
                                   std::optional<std::string_view> unchanged = std::nullopt);

/// Replaces oversized exponents by zeros, for reading again after `hugeExponent`; events don't
/// carry numeric values. Offsets don't change.
[[nodiscard]] std::string withShortExponents(std::string text);

/// The error for a syntax error in `file`.
[[nodiscard]] DecodingError syntaxError(const std::string& file, const JSONReading& reading);

}  // namespace FileCodec
