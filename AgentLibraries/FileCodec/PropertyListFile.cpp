#include "AgentLibraries/FileCodec/PropertyListFile.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

#include "Platform/Files.h"

namespace FileCodec {
namespace {

using platform::PropertyList;
using Kind = PropertyListFileError::Kind;

constexpr std::uint64_t kMaximumPropertyListBytes = std::uint64_t{64} << 20;

constexpr std::array<std::string_view, std::variant_size_v<PropertyList::Value>> kTypeNames{
    // in the order of the value's alternatives
    "a string", "an integer", "an integer", "a real number", "a Boolean",
    "a date",   "data",       "an array",   "a dictionary"};

Kind kindOf(const std::error_code& error) {
  if (error == std::errc::no_such_file_or_directory) {
    return Kind::missing;
  }
  constexpr std::array kPermanentErrors{std::errc::is_a_directory, std::errc::invalid_argument,
                                        std::errc::file_too_large,
                                        std::errc::too_many_symbolic_link_levels};
  const bool isPermanent =
      std::ranges::any_of(kPermanentErrors, [&](std::errc kind) { return error == kind; });
  return isPermanent ? Kind::damaged : Kind::unreadable;
}

std::unexpected<PropertyListFileError> failure(Kind kind, const std::string& path,
                                               std::string expected, std::string found) {
  return std::unexpected(PropertyListFileError{
      .kind = kind, .error = DecodingError(path, {}, std::move(expected), std::move(found))});
}

}  // namespace

std::expected<PropertyList::Dictionary, PropertyListFileError> readPropertyListFile(
    const std::string& path) {
  const auto bytes = platform::readFile(path, {.maximumBytes = kMaximumPropertyListBytes});
  if (!bytes) {
    return failure(kindOf(bytes.error().code), path, "a readable regular file of at most 64 MiB",
                   bytes.error().reason);
  }
  if (bytes->empty()) {
    return failure(Kind::missing, path, "a property list", "an empty file");
  }
  auto list = platform::parsePropertyList(*bytes);
  if (!list) {
    return failure(Kind::damaged, path, "a property list", list.error().message);
  }
  if (auto* const dictionary = std::get_if<PropertyList::Dictionary>(&list->value())) {
    return std::move(*dictionary);
  }
  return failure(Kind::damaged, path, "a dictionary at the top",
                 std::string(kTypeNames.at(list->value().index())));
}

}  // namespace FileCodec
