#include "Platform/Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <utility>

#include "Platform/Descriptor.h"
#include "Platform/Posix/DescriptorSystem.h"
#include "Platform/Posix/Uninterrupted.h"
#include "Platform/Text.h"

namespace platform {
namespace {

constexpr mode_t kModeOfNewFile = 0644;
constexpr mode_t kPermissionBits = 07777;
constexpr std::string_view kTemporaryMark = ".vexlo-";

std::unexpected<FileError> failure(const std::string& path, int number, std::string_view reason) {
  return std::unexpected(FileError{.code = {number, std::generic_category()},
                                   .reason = std::string(reason),
                                   .message = path + ": " + std::string(reason)});
}
std::unexpected<FileError> failure(const std::string& path, int number) {
  return failure(path, number, std::generic_category().message(number));
}

/// The system would truncate such a path at the NUL and use another file.
bool hasNUL(const std::string& path) { return path.find('\0') != std::string::npos; }

/// Calls read() once and appends at most `count` bytes. Returns false with errno set on failure.
bool readMore(int descriptor, std::string& bytes, std::size_t count) {
  const std::size_t start = bytes.size();
  bool good = true;
  bytes.resize_and_overwrite(start + count, [&](char* data, std::size_t) {
    const ssize_t got = uninterrupted([&] { return read(descriptor, data + start, count); });
    good = got >= 0;
    return start + static_cast<std::size_t>(std::max<ssize_t>(got, 0));
  });
  return good;
}

/// A path, split into the directory and the name in it.
struct Place {
  std::string directory;
  std::string name;

  explicit Place(const std::string& path)
      : directory(path, 0, path.rfind('/') + 1), name(path, path.rfind('/') + 1) {
    if (directory.empty()) {
      directory = ".";
    }
  }
  [[nodiscard]] bool namesFile() const { return !name.empty() && name != "." && name != ".."; }
  /// The prefix of the temporary files' names.
  [[nodiscard]] std::string temporaryPrefix() const {
    constexpr std::size_t kLongest = 200;  // file names have at most 255 bytes
    return "." + name.substr(0, kLongest) + std::string(kTemporaryMark);
  }
};

Descriptor openDirectory(const std::string& path) {
  return aboveStandard(
      uninterrupted([&] { return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
}

constexpr std::size_t kRandomBytes = 12;

/// A part of a name that nobody can predict; empty with errno set on failure.
std::string randomPart() {
  std::array<unsigned char, kRandomBytes> random{};
  std::string digits;
  if (getentropy(random.data(), random.size()) == 0) {
    for (const unsigned char byte : random) {
      digits += hexadecimal(byte, 2);
    }
  }
  return digits;
}

/// Whether `text` is the random part of a temporary file's name, not the rest of a longer file
/// name.
bool isRandomPart(std::string_view text) {
  return text.size() == 2 * kRandomBytes &&
         text.find_first_not_of(kSmallDigits) == std::string_view::npos;
}

/// A new file in the target's directory. The destructor removes it unless it was renamed.
class TemporaryFile {
 public:
  TemporaryFile(int directory, std::string prefix)
      : directory_(directory), prefix_(std::move(prefix)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (file_) {
      unlinkat(directory_, name_.c_str(), 0);
    }
  }

  /// Creates the file under an unpredictable name. Returns false with errno set on failure.
  bool create() {
    constexpr int kTries = 16;
    for (int attempt = 0; attempt < kTries; ++attempt) {
      const std::string random = randomPart();
      if (random.empty()) {
        return false;
      }
      name_ = prefix_ + random;
      file_ = aboveStandard(uninterrupted([&] {
        return openat(directory_, name_.c_str(),
                      O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
      }));
      if (file_ || errno != EEXIST) {
        break;
      }
    }
    return static_cast<bool>(file_);
  }

  [[nodiscard]] int descriptor() const { return file_.get(); }

  bool rename(const std::string& target) {
    if (renameat(directory_, name_.c_str(), directory_, target.c_str()) != 0) {
      return false;
    }
    file_.reset();
    return true;
  }

 private:
  int directory_;
  std::string prefix_;
  std::string name_;
  Descriptor file_;
};

/// Sets the owner and permissions of the replaced file, if any, as far as the process may. Returns
/// false with errno set on failure.
bool copyAttributes(int descriptor, const struct stat* replaced) {
  mode_t mode = kModeOfNewFile;
  if (replaced != nullptr) {
    mode = replaced->st_mode & kPermissionBits;
    if (fchown(descriptor, replaced->st_uid, replaced->st_gid) != 0) {
      if (errno != EPERM && errno != EINVAL) {  // EINVAL: the owner is unknown to the namespace
        return false;
      }
      mode &= 0777;  // set-user-ID must not apply to another owner
    }
  }
  return fchmod(descriptor, mode) == 0 || errno == EPERM;
}

}  // namespace

std::expected<std::string, FileError> readFile(const std::string& path,
                                               const ReadOptions& options) {
  if (hasNUL(path)) {
    return failure(path, EINVAL);
  }
  const Descriptor file = openRegularFile(path, options.followLinks);
  if (!file) {
    const int error = errno;
    return error == ELOOP && !options.followLinks
               ? failure(path, ELOOP, "Symbolic links are not followed here")
           : error == EINVAL ? failure(path, EINVAL, "Not a regular file")
                             : failure(path, error);
  }
  struct stat status{};
  if (fstat(file.get(), &status) != 0) {
    return failure(path, errno);
  }
  if (!options.owners.empty() &&
      std::ranges::find(options.owners, status.st_uid) == options.owners.end()) {
    return failure(path, EPERM,
                   "Owned by user " + std::to_string(status.st_uid) + ", who is not accepted here");
  }
  if (options.onlyName && status.st_nlink != 1) {
    return failure(path, EMLINK, "Has other names, which is not accepted here");
  }
  if (options.writtenSince && status.st_mtime < *options.writtenSince) {
    return failure(path, ESTALE, "Older than accepted here");
  }
  return readToEnd(file.get(), path, options.maximumBytes,
                   static_cast<std::uint64_t>(status.st_size));
}

std::expected<std::string, FileError> readToEnd(int descriptor, const std::string& path,
                                                std::uint64_t maximumBytes,
                                                std::uint64_t announced) {
  std::string bytes;
  while (announced <= maximumBytes && bytes.size() <= maximumBytes) {
    // The file may grow, and files under /proc report no size, so one more byte than expected is
    // requested to detect the end.
    constexpr std::uint64_t kStep = 4096;
    const std::uint64_t expected = bytes.size() <= announced
                                       ? announced - bytes.size()
                                       : std::max<std::uint64_t>(bytes.size(), kStep);
    const std::size_t before = bytes.size();
    if (!readMore(descriptor, bytes, std::min(expected, maximumBytes - before) + 1)) {
      return failure(path, errno);
    }
    if (bytes.size() == before) {
      return bytes;
    }
  }
  return failure(path, EFBIG, "Larger than " + std::to_string(maximumBytes) + " bytes");
}

std::expected<void, FileError> writeFileAtomically(const std::string& path,
                                                   std::string_view bytes) {
  if (hasNUL(path)) {
    return failure(path, EINVAL);
  }
  const Place place(path);
  const std::string& name = place.name;
  if (!place.namesFile()) {
    return failure(path, path.empty() ? ENOENT : EISDIR);
  }
  // All steps use one open directory, so they hit the same one even if it is moved meanwhile.
  const Descriptor directory = openDirectory(place.directory);
  if (!directory) {
    return failure(path, errno);
  }
  struct stat status{};
  const bool exists = fstatat(directory.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  if (!exists && errno != ENOENT) {
    return failure(path, errno);
  }
  if (exists && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
    return S_ISDIR(status.st_mode) ? failure(path, EISDIR)
                                   : failure(path, EINVAL, "Not a regular file");
  }
  TemporaryFile file(directory.get(), place.temporaryPrefix());
  const auto write = [&] {
    errno = writeAll(file.descriptor(), bytes);
    return errno == 0;
  };
  const bool done =
      file.create() && write() &&
      copyAttributes(file.descriptor(), exists && S_ISREG(status.st_mode) ? &status : nullptr) &&
      uninterrupted([&] { return fsync(file.descriptor()); }) == 0 && file.rename(name);
  if (!done) {
    return failure(path, errno);
  }
  // The directory is flushed for the rename, which some file systems don't support.
  if (uninterrupted([&] { return fsync(directory.get()); }) != 0 && errno != EINVAL) {
    return failure(path, errno);
  }
  return {};
}

namespace {

/// Sets aside what is at `name` if it isn't a regular file. Returns its new name; empty if it is
/// one.
std::expected<std::string, FileError> setAsideUnlessRegular(const std::string& name) {
  struct stat status{};
  if (lstat(name.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
    return std::string();
  }
  auto aside = setFileAside(name, ".damaged");
  if (aside && S_ISLNK(status.st_mode)) {
    unlink(name.c_str());  // it has a second name now
  }
  return aside;
}

}  // namespace

std::expected<FileLock, FileError> FileLock::acquire(const std::string& path,
                                                     std::chrono::milliseconds timeout,
                                                     const Sleeper& sleep) {
  constexpr std::chrono::milliseconds kPause{20};
  std::string name = path + ".lock";
  if (hasNUL(path)) {
    return failure(name, EINVAL);
  }
  auto aside = setAsideUnlessRegular(name);
  if (!aside) {
    return std::unexpected(std::move(aside.error()));
  }
  for (std::chrono::milliseconds waited{0};; waited += kPause) {
    Descriptor file = aboveStandard(uninterrupted([&] {
      return open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    }));
    struct stat opened{};
    if (!file || fstat(file.get(), &opened) != 0) {
      return failure(name, errno);
    }
    if (!S_ISREG(opened.st_mode)) {
      return failure(name, EINVAL, "Not a regular file");
    }
    if (uninterrupted([&] { return flock(file.get(), LOCK_EX | LOCK_NB); }) == 0) {
      // The previous holder may have removed the file; locking an unlinked file excludes nobody.
      struct stat named{};
      if (lstat(name.c_str(), &named) == 0 && named.st_ino == opened.st_ino &&
          named.st_dev == opened.st_dev) {
        return FileLock(std::move(name), *std::move(aside), std::move(file));  // allocates nothing
      }
    } else if (errno != EWOULDBLOCK) {
      return failure(name, errno);
    }
    if (waited >= timeout) {
      return failure(name, ETIMEDOUT, "Held by another process");
    }
    sleep(kPause);
  }
}

FileLock::~FileLock() {
  if (file_) {
    unlink(name_.c_str());  // before closing the descriptor releases the lock
  }
}

void removeLeftovers(const std::string& path) noexcept try {
  const Place place(path);
  const std::string prefix = place.temporaryPrefix();
  Descriptor directory = openDirectory(place.directory);
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(
      directory ? fdopendir(directory.get()) : nullptr, closedir);
  if (!entries) {
    return;
  }
  const int number = directory.release();  // owned by the stream now
  while (const dirent* entry = readdir(entries.get())) {
    const std::string_view name = entry->d_name;
    if (name.starts_with(prefix) && isRandomPart(name.substr(prefix.size()))) {
      unlinkat(number, entry->d_name, 0);
    }
  }
} catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch)
  // The files remain until the next save.
}

std::expected<std::string, FileError> setFileAside(const std::string& path,
                                                   std::string_view suffix) {
  constexpr int kNumberedNames = 9;
  constexpr int kMostNames = kNumberedNames + 16;  // as often as for a temporary file
  if (hasNUL(path)) {
    return failure(path, EINVAL);
  }
  struct stat original{};
  if (lstat(path.c_str(), &original) != 0) {
    return failure(path, errno);
  }
  const bool canBeReplaced = S_ISREG(original.st_mode) || S_ISLNK(original.st_mode);
  for (int number = 1; number <= kMostNames; ++number) {
    std::string name = path + std::string(suffix);
    if (number > 1) {
      const std::string distinction =
          number <= kNumberedNames ? std::to_string(number) : randomPart();
      if (distinction.empty()) {
        return failure(path, errno);
      }
      name += "-" + distinction;
    }
    // Links the symbolic link itself, since it is what will be replaced.
    if (canBeReplaced && linkat(AT_FDCWD, path.c_str(), AT_FDCWD, name.c_str(), 0) == 0) {
      return name;
    }
    const int error = errno;
    struct stat status{};
    if (lstat(name.c_str(), &status) == 0) {
      continue;
    }
    // The file system has no hard links, or this user may not link another user's file.
    const bool linksFail =
        !canBeReplaced || error == EPERM || error == EOPNOTSUPP || error == ENOTSUP;
    if (linksFail && rename(path.c_str(), name.c_str()) == 0) {
      return name;
    }
    return failure(path, linksFail ? errno : error);
  }
  return failure(path, EEXIST, "Too many damaged files have been renamed");
}

void undoSettingAside(const std::string& path, const std::string& name) noexcept {
  struct stat original{};
  struct stat aside{};
  if (lstat(path.c_str(), &original) != 0) {
    if (errno == ENOENT) {
      rename(name.c_str(), path.c_str());
    }
  } else if (lstat(name.c_str(), &aside) == 0 && aside.st_dev == original.st_dev &&
             aside.st_ino == original.st_ino) {
    unlink(name.c_str());
  }
}

bool fileExists(const std::string& path) {
  struct stat status{};
  return !hasNUL(path) && stat(path.c_str(), &status) == 0;
}

std::int32_t removeFile(const std::string& path) {
  if (hasNUL(path)) {
    return EINVAL;
  }
  if (unlink(path.c_str()) == 0) {
    return 0;
  }
  const std::int32_t error = errno;
  struct stat status{};  // systems differ in the error for a directory
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? EISDIR : error;
}

}  // namespace platform
