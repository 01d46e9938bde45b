// A JSON document in one array of values, whose memory is reused for the next document.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/PropertyList.h"

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

  [[nodiscard]] Type type() const noexcept { return type_; }
  [[nodiscard]] bool isNull() const noexcept { return type_ == Type::null; }
  // Absent if the value has another type.
  [[nodiscard]] std::optional<bool> boolean() const noexcept;
  [[nodiscard]] std::optional<std::int64_t> integer() const noexcept;
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

  /// Decodes a property-list value as written by `facts --json`. A JSON null becomes an empty
  /// string.
  [[nodiscard]] platform::PropertyList propertyList() const;

 private:
  friend class CompactJSON;

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
class CompactJSON {
 public:
  CompactJSON();
  ~CompactJSON();
  CompactJSON(const CompactJSON&) = delete;
  CompactJSON& operator=(const CompactJSON&) = delete;

  /// The root value, valid until the next call and as long as `text`. Null if the text isn't JSON
  /// or has an oversized number; see `whyNoJSON`.
  [[nodiscard]] const JSONValue* read(std::string_view text);

 private:
  class Handler;
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace agent_tool
