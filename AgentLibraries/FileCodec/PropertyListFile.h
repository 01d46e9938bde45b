// Reads property-list files whose top-level value is a dictionary.
#pragma once
#include <cstdint>
#include <expected>
#include <string>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "Platform/PropertyList.h"

namespace FileCodec {

/// Why a file could not be read as a dictionary.
struct PropertyListFileError {
  enum class Kind : std::uint8_t {
    missing,     ///< No file, or an empty one.
    unreadable,  ///< Can't be read now: no permission, no memory, an I/O error.
    damaged,     ///< Not a property list with a top-level dictionary, and won't
                 ///< become one: other data, a directory, a FIFO, a file that is too large.
  };
  Kind kind;
  DecodingError error;
};

/// Reads the top-level dictionary of the file at `path`.
[[nodiscard]] std::expected<platform::PropertyList::Dictionary, PropertyListFileError>
readPropertyListFile(const std::string& path);

}  // namespace FileCodec
