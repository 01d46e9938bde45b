// Files: bounded reads that never block, atomic writes, removal.
#pragma once
#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/Descriptor.h"

namespace platform {

/// Why a file operation failed: "<path>: No such file or directory".
struct FileError {
  std::error_code code;
  std::string message;
};

/// How `readFile` opens its file.
struct ReadOptions {
  std::uint64_t maximumBytes;  ///< A larger file is an error.
  bool followLinks = true;     ///< False: a symbolic link in the last place is an error.
  /// The users to one of whom the opened file must belong (EPERM otherwise); any when empty.
  std::vector<std::uint32_t> owners;
};

/// Reads a regular file whole. Anything else (directory, FIFO, device, socket) is an error and is
/// never waited for; a file that grows while it is read ends at `maximumBytes` with an error.
[[nodiscard]] std::expected<std::string, FileError> readFile(const std::string& path,
                                                             const ReadOptions& options);

/// Replaces or makes the file at `path` in one step: a temporary file in the same directory,
/// flushed to the disk, then renamed. After a crash the old or the new file is there, whole. An
/// existing file keeps its permission bits and owner where the process may set them; a new one
/// gets 0644. A symbolic link at `path` is replaced by the file, its target left alone. After an
/// error the old file is there, unless only the last step failed, the flush of the directory: then
/// the new one is, but it might not outlive a crash. A process that is killed meanwhile leaves the
/// temporary file, see `removeLeftovers`.
[[nodiscard]] std::expected<void, FileError> writeFileAtomically(const std::string& path,
                                                                 std::string_view bytes);

/// Keeps other processes that call this for the same path, and other threads, out of a
/// read-change-write cycle for as long as it lives. The lock is a file beside `path` that only the
/// process's own user can open, named as it with ".lock" behind; it is removed at the end.
class FileLock {
 public:
  /// How long `acquire` pauses between two looks at a lock that somebody holds.
  using Sleeper = std::function<void(std::chrono::milliseconds)>;

  /// Waits for the lock, at most `timeout`; ETIMEDOUT then.
  [[nodiscard]] static std::expected<FileLock, FileError> acquire(
      const std::string& path, std::chrono::milliseconds timeout = std::chrono::seconds(10),
      const Sleeper& sleep = {});
  FileLock(FileLock&&) noexcept = default;
  FileLock& operator=(FileLock&&) = delete;
  ~FileLock();

 private:
  FileLock(std::string name, Descriptor file) : name_(std::move(name)), file_(std::move(file)) {}
  std::string name_;
  Descriptor file_;
};

/// Removes the temporary files that interrupted calls of `writeFileAtomically` for `path` have
/// left. Only for a holder of the path's lock: another process's write would lose its file.
void removeLeftovers(const std::string& path) noexcept;

/// Keeps what is at `path` under a second name beside it, so that replacing the file does not lose
/// its bytes: the first free one of `path` with `suffix`, then with "-2", "-3" and so on behind.
/// What can't be replaced (a directory, a FIFO) or can get no second name is renamed. Returns the
/// name.
[[nodiscard]] std::expected<std::string, FileError> setFileAside(const std::string& path,
                                                                 std::string_view suffix);
/// Undoes `setFileAside`, which returned `name`; does nothing once another file is at `path`.
void undoSettingAside(const std::string& path, const std::string& name) noexcept;

/// Whether something is at `path` (a link counts by its target).
[[nodiscard]] bool fileExists(const std::string& path);

/// Removes the file or link at `path`, never a directory (EISDIR). 0, or the system's error number.
[[nodiscard]] std::int32_t removeFile(const std::string& path);

}  // namespace platform
