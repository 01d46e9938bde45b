#include "Platform/Posix/RegularFile.h"

#include <fcntl.h>
#include <sys/param.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>

#include "Platform/Posix/Uninterrupted.h"

namespace platform {
namespace {

Descriptor failed(int error) {
  errno = error;
  return {};
}

}  // namespace

Descriptor openRegularFile(const std::string& path, bool followLinks) {
  // Checks before opening, so that nothing else is opened, and again afterwards in case the path
  // changed in between. Opening is non-blocking.
  struct stat seen{};
  if ((followLinks ? ::stat(path.c_str(), &seen) : ::lstat(path.c_str(), &seen)) != 0) {
    return {};
  }
  if (!S_ISREG(seen.st_mode)) {
    return failed(S_ISDIR(seen.st_mode) ? EISDIR : S_ISLNK(seen.st_mode) ? ELOOP : EINVAL);
  }
  const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (followLinks ? 0 : O_NOFOLLOW);
  Descriptor file(uninterrupted([&] { return ::open(path.c_str(), flags); }));
  struct stat status{};
  if (!file || ::fstat(file.get(), &status) != 0) {
    return {};
  }
  if (!S_ISREG(status.st_mode)) {
    return failed(EINVAL);
  }
  return file;
}

Descriptor openAgain(int descriptor, int flags) {
  std::array<char, MAXPATHLEN> path{};
  if (::fcntl(descriptor, F_GETPATH, path.data()) != 0) {
    return {};
  }
  return aboveStandard(::open(path.data(), flags | O_CLOEXEC));
}

}  // namespace platform
