// A JSON document as a tree in one array, whose memory is reused for the next document.
#pragma once
#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "AgentLibraries/FileCodec/JSONReader.h"

namespace agent_tool {

/// One value of a document, followed by its elements. A member's name is a string before its value.
class JSONValue {
 public:
  struct Array {};
  struct Object {};
  /// An unsigned integer is above the signed range. A real has a fraction or an exponent, or
  /// exceeds 64 bits.
  using Content = std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double,
                               std::string_view, Array, Object>;
  /// In the order of the alternatives.
  enum class Type : std::uint8_t {
    null,
    boolean,
    integer,
    unsignedInteger,
    real,
    string,
    array,
    object
  };

  explicit JSONValue(Content content) noexcept : content_(content) {}

  [[nodiscard]] const Content& content() const noexcept { return content_; }
  [[nodiscard]] Type type() const noexcept { return static_cast<Type>(content_.index()); }
  [[nodiscard]] bool isNull() const noexcept { return type() == Type::null; }
  [[nodiscard]] bool isEmptyObject() const noexcept {
    return type() == Type::object && extent_ == 1;
  }
  /// Absent if the value has another type.
  template <typename Alternative>
  [[nodiscard]] std::optional<Alternative> get() const noexcept {
    const auto* const held = std::get_if<Alternative>(&content_);
    return held != nullptr ? std::optional(*held) : std::nullopt;
  }

  /// Calls `visit(name, value)` for each member in order, if this is an object.
  template <typename Visit>
  void forEachMember(const Visit& visit) const {
    if (type() == Type::object) {
      for (const JSONValue* name = this + 1; name != this + extent_; name += 1 + name[1].extent_) {
        visit(*std::get_if<std::string_view>(&name->content_), name[1]);
      }
    }
  }
  /// Calls `visit(value)` for each element in order, if this is an array.
  template <typename Visit>
  void forEachElement(const Visit& visit) const {
    if (type() == Type::array) {
      for (const JSONValue* value = this + 1; value != this + extent_; value += value->extent_) {
        visit(*value);
      }
    }
  }

 private:
  friend class JSONDocument;

  Content content_;
  std::uint32_t extent_ = 1;  // number of values up to the next sibling
};

/// Parses texts one at a time, reusing memory, so that it stops allocating after the largest text.
/// Not thread-safe.
class JSONDocument {
 public:
  JSONDocument();
  ~JSONDocument();

  /// The root of a text of at most 4 GiB; valid until the next call and as long as `text`. The
  /// error says why the text can't be used: it isn't JSON, or has a number whose exponent is huge
  /// (`JSONOutcome::hugeExponent`). It quotes `original` if `text` is from
  /// `FileCodec::withShortExponents`.
  [[nodiscard]] std::expected<const JSONValue*, FileCodec::JSONReading> read(
      std::string_view text, std::string_view original = {});

  /// The offset in `text`, which was read last, of each value, in the order of the values: a value
  /// is followed by its elements, a member's name precedes the member's value. None counts a byte
  /// order mark.
  [[nodiscard]] std::vector<std::uint32_t> offsets(std::string_view text) const;

 private:
  class Handler;
  class Parser;
  std::unique_ptr<Parser> parser_;
};

/// The length of the token at `offset` of a JSON text: a string, a word, or one other character.
[[nodiscard]] std::size_t tokenLength(std::string_view text, std::size_t offset);

/// Indents a JSON text. Containers without nested ones stay on one line.
[[nodiscard]] std::string indented(std::string_view json);

}  // namespace agent_tool
