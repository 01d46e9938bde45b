#include "Platform/Volume.h"

#include <sys/statvfs.h>

#include <cerrno>
#include <limits>
#include <system_error>

#include "Platform/Posix/Uninterrupted.h"

namespace platform {

std::expected<std::optional<std::int64_t>, std::string> availableCapacity(const std::string& path) {
  struct statvfs volume{};
  if (uninterrupted([&] { return ::statvfs(path.c_str(), &volume); }) != 0) {
    return std::unexpected(std::generic_category().message(errno));
  }
  if (volume.f_blocks == 0) {  // /proc and the like
    return std::nullopt;
  }
  std::int64_t bytes = 0;
  if (__builtin_mul_overflow(volume.f_bavail, volume.f_frsize, &bytes)) {
    bytes = std::numeric_limits<std::int64_t>::max();
  }
  return bytes;
}

}  // namespace platform
