// Files: bounded reads that never block, atomic writes, removal.
#pragma once
#include <chrono>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "Platform/Calendar.h"
#include "Platform/Descriptor.h"

namespace platform {

/// Why a file operation failed.
struct FileError {
  std::error_code code;
  std::string reason;   ///< "No such file or directory"
  std::string message;  ///< "<path>: <reason>"
};

/// How `readFile` opens its file.
struct ReadOptions {
  std::uint64_t maximumBytes;  ///< A larger file is an error.
  bool followLinks = true;     ///< When false, a symbolic link as last component is an error.
  /// Accepted owners of the opened file (EPERM otherwise); empty accepts any owner.
  std::vector<std::uint32_t> owners;
  /// When true, the opened file may have no other name (EMLINK otherwise).
  bool onlyName = false;
  /// In seconds since 1970: the opened file must not have been written last before (ESTALE
  /// otherwise).
  std::optional<std::int64_t> writtenSince = std::nullopt;
};

/// Reads a whole regular file. Anything else (directory, FIFO, device, socket) is an error and
/// never blocks, and so is a file that grows beyond `maximumBytes` while it is read.
[[nodiscard]] std::expected<std::string, FileError> readFile(const std::string& path,
                                                             const ReadOptions& options);

/// Reads an open file of any kind to its end. The path is for errors, of which one is a file of
/// more than `maximumBytes`. `announced` is its probable size.
[[nodiscard]] std::expected<std::string, FileError> readToEnd(int descriptor,
                                                              const std::string& path,
                                                              std::uint64_t maximumBytes,
                                                              std::uint64_t announced = 0);

/// Creates or replaces the file at `path` atomically: writes a temporary file in the same
/// directory, flushes it with fsync() and renames it. After a crash of the system either the old or
/// the new file is there in full; after a power failure only as far as the drive has written its
/// cache, which macOS doesn't wait for. An existing file keeps its permission bits and owner if the
/// process may set them; a new one gets 0644. A symbolic link at `path` is replaced, its target is
/// not touched. After an error the old file is still there, unless only the last step failed,
/// flushing the directory: the new file is then in place but might not survive a crash. A process
/// that is killed during the call leaves the temporary file behind, see `removeLeftovers`.
[[nodiscard]] std::expected<void, FileError> writeFileAtomically(const std::string& path,
                                                                 std::string_view bytes);

/// Locks out other threads and processes that use this class for the same path, for a
/// read-modify-write cycle. The lock is a file next to `path` with the suffix ".lock" that only the
/// process's user can open; it is removed on release. Anything else with that name, such as a
/// directory or a FIFO, is set aside with the suffix ".damaged".
class FileLock {
 public:
  /// Waits for the lock for at most `timeout`, with pauses between the attempts, then fails with
  /// ETIMEDOUT.
  [[nodiscard]] static std::expected<FileLock, FileError> acquire(
      const std::string& path, std::chrono::milliseconds timeout = std::chrono::seconds(10),
      const Sleeper& sleep = [](auto pause) { std::this_thread::sleep_for(pause); });
  /// The new name of what was set aside; empty if nothing was.
  [[nodiscard]] const std::string& setAside() const noexcept { return setAside_; }
  FileLock(FileLock&&) noexcept = default;
  FileLock& operator=(FileLock&&) = delete;
  ~FileLock();

 private:
  FileLock(std::string name, std::string setAside, Descriptor file)
      : name_(std::move(name)), setAside_(std::move(setAside)), file_(std::move(file)) {}
  std::string name_;
  std::string setAside_;
  Descriptor file_;
};

/// Removes temporary files left behind by interrupted `writeFileAtomically` calls for `path`. The
/// caller must hold the path's lock: otherwise a concurrent write would lose its file.
void removeLeftovers(const std::string& path) noexcept;

/// Gives the file at `path` a second name in the same directory, so that replacing it doesn't lose
/// its contents: `path` + `suffix`, or the first free one with "-2" to "-9" appended, or else with
/// random digits, so that nobody can occupy all names. What can't be replaced (a directory, a FIFO)
/// or hard-linked is renamed. Returns the name.
[[nodiscard]] std::expected<std::string, FileError> setFileAside(const std::string& path,
                                                                 std::string_view suffix);
/// Undoes the `setFileAside` that returned `name`; does nothing if another file is now at `path`.
void undoSettingAside(const std::string& path, const std::string& name) noexcept;

/// Whether `path` exists, following links.
[[nodiscard]] bool fileExists(const std::string& path);

/// Removes the file or link at `path`, never a directory (EISDIR). Returns 0 or an errno value.
[[nodiscard]] std::int32_t removeFile(const std::string& path);

}  // namespace platform
