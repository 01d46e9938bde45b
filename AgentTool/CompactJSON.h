// A JSON document in one array of values, made anew from text to text in the same memory.
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

/// One value of a document, with what is in it right behind it. A member's name is a string that
/// stands before its value.
class JSONValue {
 public:
  enum class Type : std::uint8_t {
    null,
    boolean,
    integer,          ///< Of the signed 64-bit range.
    unsignedInteger,  ///< Above that range.
    real,             ///< With a fraction or an exponent, or beyond 64 bits.
    string,
    array,
    object,
  };

  [[nodiscard]] Type type() const noexcept { return type_; }
  [[nodiscard]] bool isNull() const noexcept { return type_ == Type::null; }
  // Absent when the value is of another type.
  [[nodiscard]] std::optional<bool> boolean() const noexcept;
  [[nodiscard]] std::optional<std::int64_t> integer() const noexcept;
  [[nodiscard]] std::optional<std::string_view> string() const noexcept;

  /// Calls `visit(name, value)` for each member, in order; for anything but an object never.
  template <typename Visit>
  void forEachMember(const Visit& visit) const {
    if (type_ == Type::object) {
      for (const JSONValue* name = this + 1; name != this + extent_; name += 1 + name[1].extent_) {
        visit(name->text(), name[1]);
      }
    }
  }
  /// Calls `visit(value)` for each element, in order; for anything but an array never.
  template <typename Visit>
  void forEachElement(const Visit& visit) const {
    if (type_ == Type::array) {
      for (const JSONValue* value = this + 1; value != this + extent_; value += value->extent_) {
        visit(*value);
      }
    }
  }
  /// The member of that name, the last one if there are several; null without one.
  [[nodiscard]] const JSONValue* find(std::string_view name) const noexcept;

  /// The property-list value that `facts --json` writes so. A JSON null, which it never writes in
  /// there, is an empty text.
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
  std::uint32_t extent_ = 1;  // values up to the next one beside this
  Type type_ = Type::null;
};

/// Reads one text after the other. The memory of the former one is used again, so that reading
/// allocates nothing once the largest text has been seen. For one thread at a time.
class CompactJSON {
 public:
  CompactJSON();
  ~CompactJSON();
  CompactJSON(const CompactJSON&) = delete;
  CompactJSON& operator=(const CompactJSON&) = delete;

  /// The document's value; it and its texts live until the next reading and as long as `text`. Null
  /// for a text that is no JSON, or has a number beyond all measure: `whyNoJSON` tells.
  [[nodiscard]] const JSONValue* read(std::string_view text);

 private:
  class Handler;
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace agent_tool
