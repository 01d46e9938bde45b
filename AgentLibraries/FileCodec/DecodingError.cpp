#include "AgentLibraries/FileCodec/DecodingError.h"

#include "AgentLibraries/FileCodec/JSONText.h"
#include "Platform/Unicode.h"

namespace FileCodec {
namespace {

constexpr std::size_t kLongestName = 200;

std::string withoutControlCharacters(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      appendJSONEscape(out, static_cast<unsigned char>(c));
    } else {
      out += c;
    }
  }
  return out;
}

std::string oneLine(const std::string& file, const std::string& place, const std::string& expected,
                    const std::string& found) {
  std::string line;
  for (const std::string& origin : {file, place}) {
    if (!origin.empty()) {
      line += origin + ": ";
    }
  }
  if (!expected.empty()) {
    line += "expected " + expected + ", found ";
  }
  return withoutControlCharacters(line + found);
}

}  // namespace

DecodingError::DecodingError(std::string file, std::string place, std::string expected,
                             std::string found)
    : std::runtime_error(oneLine(file, place, expected, found)),
      file_(std::move(file)),
      place_(std::move(place)),
      expected_(std::move(expected)),
      found_(std::move(found)) {}

std::string nameInPlace(std::string_view name) {
  const std::string_view shown = platform::wholeCharacters(name, kLongestName);
  return withoutControlCharacters(shown) + (shown.size() < name.size() ? "…" : "");
}

}  // namespace FileCodec
