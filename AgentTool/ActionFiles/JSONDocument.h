// A JSON text as a tree of values with their offsets.
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONReader.h"

namespace agent_tool {

/// The tree of one text, which must outlive it. Values are in document order, containers before
/// their contents; the root is the first.
class JSONDocument {
 public:
  enum class Type : std::uint8_t { object, array, string, number, boolean, null };

  struct Value {
    Type type = Type::null;
    std::uint32_t end = 0;         ///< The index of the first value after this one's contents.
    std::uint32_t offset = 0;      ///< Of the value in the text.
    std::uint32_t nameOffset = 0;  ///< Of the member's name; without a name, of the value.
    std::string_view name;         ///< The member's name; empty for other values.
    std::string_view string;       ///< A string's decoded content.
  };

  /// Reads a text of at most 4 GiB. There are no values unless the outcome of `reading()` is
  /// `complete`. No offset counts a byte order mark.
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
  std::deque<std::string> decoded_;  // strings that had escapes; a deque doesn't move them
};

/// The length of the token at `offset` of a JSON text: a string, a word, or one bracket.
[[nodiscard]] std::size_t tokenLength(std::string_view text, std::size_t offset);

}  // namespace agent_tool
