// A JSON document as a tree in one array, whose memory is reused for the next document.
#pragma once
#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONReader.h"

namespace agent_tool {

/// One value of a document, followed by its elements. A member's name is a string before its value.
class JSONValue {
 public:
  enum class Type : std::uint8_t {
    null,
    boolean,
    integer,          ///< Of the signed 64-bit range.
    unsignedInteger,  ///< Above that range.
    real,             ///< Has a fraction or an exponent, or exceeds 64 bits.
    string,
    array,
    object,
  };

  JSONValue() = default;  ///< A null.

  [[nodiscard]] Type type() const noexcept { return type_; }
  [[nodiscard]] bool isNull() const noexcept { return type_ == Type::null; }
  [[nodiscard]] bool isEmptyObject() const noexcept {
    return type_ == Type::object && extent_ == 1;
  }
  // Absent if the value has another type.
  [[nodiscard]] std::optional<bool> boolean() const noexcept;
  [[nodiscard]] std::optional<std::int64_t> integer() const noexcept;
  [[nodiscard]] std::optional<std::uint64_t> unsignedInteger() const noexcept;
  [[nodiscard]] std::optional<double> real() const noexcept;
  [[nodiscard]] std::optional<std::string_view> string() const noexcept;

  /// Calls `visit(name, value)` for each member in order, if this is an object.
  template <typename Visit>
  void forEachMember(const Visit& visit) const {
    if (type_ == Type::object) {
      for (const JSONValue* name = this + 1; name != this + extent_; name += 1 + name[1].extent_) {
        visit(name->text(), name[1]);
      }
    }
  }
  /// Calls `visit(value)` for each element in order, if this is an array.
  template <typename Visit>
  void forEachElement(const Visit& visit) const {
    if (type_ == Type::array) {
      for (const JSONValue* value = this + 1; value != this + extent_; value += value->extent_) {
        visit(*value);
      }
    }
  }
  /// The last member of that name; null if there is none.
  [[nodiscard]] const JSONValue* find(std::string_view name) const noexcept;

 private:
  friend class JSONDocument;

  [[nodiscard]] std::string_view text() const noexcept { return {payload_.text, length_}; }

  union Payload {
    bool flag;
    std::int64_t integer;
    std::uint64_t unsignedInteger;
    double real;
    const char* text;
  };
  Payload payload_{};
  std::uint32_t length_ = 0;  // of the text
  std::uint32_t extent_ = 1;  // number of values up to the next sibling
  Type type_ = Type::null;
};

/// Parses texts one at a time, reusing memory, so that it stops allocating after the largest text.
/// Not thread-safe.
class JSONDocument {
 public:
  JSONDocument();
  ~JSONDocument();
  JSONDocument(const JSONDocument&) = delete;
  JSONDocument& operator=(const JSONDocument&) = delete;

  /// The root of a text of at most 4 GiB without a byte order mark; valid until the next call and
  /// as long as `text`. The error says why the text can't be used: it isn't JSON, or has a number
  /// whose exponent is huge (`JSONOutcome::hugeExponent`).
  [[nodiscard]] std::expected<const JSONValue*, FileCodec::JSONReading> read(std::string_view text);
  /// The same for a text from `FileCodec::withShortExponents`; errors quote `original`.
  [[nodiscard]] std::expected<const JSONValue*, FileCodec::JSONReading> read(
      std::string_view text, std::string_view original);

  /// The offset in `text`, which was read last, of each value, in the order of the values: a value
  /// is followed by its elements, a member's name precedes the member's value. None counts a byte
  /// order mark.
  [[nodiscard]] std::vector<std::uint32_t> offsets(std::string_view text) const;

 private:
  class Handler;
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

/// The text without its byte order mark, if it has one.
[[nodiscard]] std::string_view withoutByteOrderMark(std::string_view text);

/// The length of the token at `offset` of a JSON text: a string, a word, or one other character.
[[nodiscard]] std::size_t tokenLength(std::string_view text, std::size_t offset);

/// Indents a JSON text. Containers without nested ones stay on one line.
[[nodiscard]] std::string indented(std::string_view json);

}  // namespace agent_tool
