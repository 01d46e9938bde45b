// A JSON text as a tree that knows the place of each value.
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONReader.h"

namespace agent_tool {

/// The tree of one text, which has to outlive it. Values are in the text's order, each before what
/// it holds; the root is the first.
class JSONDocument {
 public:
  enum class Type : std::uint8_t { object, array, string, number, boolean, null };

  struct Value {
    Type type = Type::null;
    std::uint32_t end = 0;         ///< The number of the first value that isn't in this one.
    std::uint32_t offset = 0;      ///< Where the value begins in the text.
    std::uint32_t nameOffset = 0;  ///< Where the member's name begins, or the value itself.
    std::string_view name;         ///< Of a member; else empty.
    std::string_view string;       ///< Of a string: what it says.
  };

  /// Reads a text of at most 4 GiB without a byte order mark. What doesn't end with `complete` in
  /// `reading()` has no values.
  explicit JSONDocument(std::string_view text);
  JSONDocument(const JSONDocument&) = delete;
  JSONDocument& operator=(const JSONDocument&) = delete;

  [[nodiscard]] const FileCodec::JSONReading& reading() const noexcept { return reading_; }
  [[nodiscard]] const std::vector<Value>& values() const noexcept { return values_; }
  /// The members or elements of `value`, in order.
  [[nodiscard]] std::vector<const Value*> children(const Value& value) const;

 private:
  class Builder;

  std::string_view text_;
  FileCodec::JSONReading reading_;
  std::vector<Value> values_;
  std::deque<std::string> decoded_;  // strings that were written with escapes; they stay in place
};

/// The length of what begins at `offset` of a JSON text: a string, a word, or one bracket.
[[nodiscard]] std::size_t tokenLength(std::string_view text, std::size_t offset);

}  // namespace agent_tool
