// A new root directory in a private mount namespace: the host's files, overlaid with others.
#pragma once
#include <sys/types.h>

#include <set>
#include <string>
#include <string_view>

namespace simulated_mac {

/// A tmpfs that only the calling process and its children see. Before anything is written, the
/// whole host becomes read-only in their namespace, so that nothing inside can change it. Paths in
/// the Mac are absolute. Needs CAP_SYS_ADMIN in the mount namespace and Linux 5.12; operations
/// throw `std::system_error`.
class LayeredRoot {
 public:
  /// Makes a tmpfs, `bytes` in size, the root directory of the calling process and its children,
  /// with the host's directories and devices.
  explicit LayeredRoot(const std::string& bytes);

  /// Copies the contents of the host's directory into the root.
  void copy(const std::string& directory) const;
  /// Writes a file and makes its parents; if the host has that directory, the file appears among
  /// the host's after `finish`. Replaces a file or link made before.
  void writeFile(const std::string& macPath, std::string_view content, mode_t mode = 0644);
  /// Makes a symbolic link in the same way.
  void makeLink(const std::string& macPath, const std::string& target);
  /// Makes a directory of the root with these permission bits, and its parents.
  void makeDirectory(const std::string& macPath, mode_t mode = 0755) const;

  enum class Access : bool { readOnly, readWrite };
  /// Shows a file of the host at `macPath`.
  void bindFile(const std::string& source, const std::string& macPath,
                Access access = Access::readOnly) const;
  /// Makes a directory of the root read-only.
  void makeReadOnly(const std::string& macPath) const;

  /// Mounts the overlays, unmounts the rest of the host, and drops the capabilities with which root
  /// could still change it.
  void finish() const;

 private:
  [[nodiscard]] std::string placeFor(const std::string& macPath);

  std::string callersDirectory_;
  std::set<std::string> overlays_;  ///< The host's directories that get one.
};

}  // namespace simulated_mac
