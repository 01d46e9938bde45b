// Explains where and why text isn't valid JSON, after the fast reader has failed.
#pragma once
#include <cstddef>
#include <string_view>

#include "AgentLibraries/FileCodec/JSONReader.h"

namespace FileCodec {

/// What was expected and found in `text`, and its offset; sets nothing else. The text is valid up
/// to `failure` except perhaps for the token that ends there. Scans it again, without recursion.
[[nodiscard]] JSONReading diagnoseJSON(std::string_view text, std::size_t failure);

}  // namespace FileCodec
