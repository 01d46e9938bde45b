// What Boost.JSON's parser asks of its handler.
#pragma once
#include <boost/json/basic_parser_impl.hpp>
#include <cstddef>
#include <cstdint>

namespace FileCodec {

/// Ignores every event of the parser. A handler derives from it and hides those that it needs.
struct IgnoredParserEvents {
  using Error = boost::system::error_code;
  using View = boost::core::string_view;

  static constexpr std::size_t max_array_size = -1;   // NOLINT: names that the parser asks for
  static constexpr std::size_t max_object_size = -1;  // NOLINT
  static constexpr std::size_t max_string_size = -1;  // NOLINT
  static constexpr std::size_t max_key_size = -1;     // NOLINT

  static bool on_document_begin(Error&) { return true; }
  static bool on_document_end(Error&) { return true; }
  static bool on_object_begin(Error&) { return true; }
  static bool on_object_end(std::size_t, Error&) { return true; }
  static bool on_array_begin(Error&) { return true; }
  static bool on_array_end(std::size_t, Error&) { return true; }
  static bool on_key_part(View, std::size_t, Error&) { return true; }
  static bool on_key(View, std::size_t, Error&) { return true; }
  static bool on_string_part(View, std::size_t, Error&) { return true; }
  static bool on_string(View, std::size_t, Error&) { return true; }
  static bool on_number_part(View, Error&) { return true; }
  static bool on_int64(std::int64_t, View, Error&) { return true; }
  static bool on_uint64(std::uint64_t, View, Error&) { return true; }
  static bool on_double(double, View, Error&) { return true; }
  static bool on_bool(bool, Error&) { return true; }
  static bool on_null(Error&) { return true; }
  static bool on_comment_part(View, Error&) { return true; }
  static bool on_comment(View, Error&) { return true; }
};

}  // namespace FileCodec
