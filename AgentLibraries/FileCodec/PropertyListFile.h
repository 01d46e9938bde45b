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
    unreadable,  ///< Its bytes can't be had now: no permission, no memory, a failing disk.
    damaged,     ///< What is there is no property list with a dictionary at its top, nor will it
                 ///< become one: other bytes, a directory, a FIFO, a file that is too large.
  };
  Kind kind;
  DecodingError error;
};

/// The dictionary at the top of the file at `path`.
[[nodiscard]] std::expected<platform::PropertyList::Dictionary, PropertyListFileError>
readPropertyListFile(const std::string& path);

}  // namespace FileCodec
