// Reads property-list files that have a dictionary at their top.
#pragma once
#include <cstdint>
#include <expected>
#include <string>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "Platform/PropertyList.h"

namespace FileCodec {

/// Why a file yields no dictionary.
struct PropertyListFileError {
  enum class Kind : std::uint8_t {
    missing,     ///< Nothing is there, or a file of 0 bytes.
    unreadable,  ///< Its bytes can't be had: no permission, no regular file, too large.
    damaged,     ///< The bytes are no property list, or one with another type at its top.
  };
  Kind kind;
  DecodingError error;
};

/// The dictionary at the top of the file at `path`.
[[nodiscard]] std::expected<platform::PropertyList::Dictionary, PropertyListFileError>
readPropertyListFile(const std::string& path);

}  // namespace FileCodec
