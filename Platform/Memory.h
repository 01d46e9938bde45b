// Wipes secrets from memory.
#pragma once
#include <string>

namespace platform {

/// Overwrites the text's whole buffer with zeros (the compiler may not leave that out), then
/// empties it.
void wipe(std::string& secret) noexcept;

}  // namespace platform
