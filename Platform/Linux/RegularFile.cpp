#include "Platform/Posix/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "Platform/Posix/Uninterrupted.h"

namespace platform {
namespace {

Descriptor openUninterrupted(const std::string& path, int flags) {
  return aboveStandard(uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC); }));
}

/// The errno value for a file that is not regular; 0 for a regular file.
int errorOf(mode_t mode) {
  if (S_ISREG(mode)) {
    return 0;
  }
  if (S_ISDIR(mode)) {
    return EISDIR;
  }
  return S_ISLNK(mode) ? ELOOP : EINVAL;
}

}  // namespace

Descriptor openRegularFile(const std::string& path, bool followLinks) {
  // An O_PATH descriptor only names the file; reopening it through /proc opens that same file.
  const Descriptor place = openUninterrupted(path, O_PATH | (followLinks ? 0 : O_NOFOLLOW));
  struct stat status{};
  if (!place || ::fstat(place.get(), &status) != 0) {
    return {};
  }
  if (const int error = errorOf(status.st_mode); error != 0) {
    errno = error;
    return {};
  }
  return openAgain(place.get(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
}

Descriptor openAgain(int descriptor, int flags) {
  return openUninterrupted("/proc/self/fd/" + std::to_string(descriptor), flags);
}

}  // namespace platform
