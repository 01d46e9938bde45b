// The JSON parser's baseline.
#pragma once
#include <boost/json/basic_parser_impl.hpp>
#include <cstddef>
#include <cstdint>

/// Ignores every event; measures the parser alone.
struct EmptyHandler {
  static constexpr std::size_t max_array_size = -1;
  static constexpr std::size_t max_object_size = -1;
  static constexpr std::size_t max_string_size = -1;
  static constexpr std::size_t max_key_size = -1;
  using Error = boost::system::error_code;
  using View = boost::core::string_view;
  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return true; }
  bool on_object_end(std::size_t, Error&) { return true; }
  bool on_array_begin(Error&) { return true; }
  bool on_array_end(std::size_t, Error&) { return true; }
  bool on_key_part(View, std::size_t, Error&) { return true; }
  bool on_key(View, std::size_t, Error&) { return true; }
  bool on_string_part(View, std::size_t, Error&) { return true; }
  bool on_string(View, std::size_t, Error&) { return true; }
  bool on_number_part(View, Error&) { return true; }
  bool on_int64(std::int64_t, View, Error&) { return true; }
  bool on_uint64(std::uint64_t, View, Error&) { return true; }
  bool on_double(double, View, Error&) { return true; }
  bool on_bool(bool, Error&) { return true; }
  bool on_null(Error&) { return true; }
  bool on_comment_part(View, Error&) { return true; }
  bool on_comment(View, Error&) { return true; }
};
