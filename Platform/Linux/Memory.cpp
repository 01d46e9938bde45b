#include "Platform/Memory.h"

#include <cstring>

namespace platform {

void wipe(std::string& secret) noexcept {
  secret.resize(secret.capacity());  // earlier, longer content lies behind the end; no reallocation
  explicit_bzero(secret.data(), secret.size());
  secret.clear();
}

}  // namespace platform
