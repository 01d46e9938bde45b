// A new root directory in a private mount namespace: the host's files with others laid over.
#pragma once
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace simulated_mac {

/// Built on a tmpfs that only the calling process and its children see. The host's directories
/// are there read-only, so that nothing inside leaves a trace on the host. Needs the mount
/// namespace's own capability; operations throw `std::system_error`.
class LayeredRoot {
 public:
  /// Detaches the namespace's mounts from the host's and mounts the tmpfs, `bytes` in size.
  /// `mayWriteHost` says that the caller is a user whom the permissions of the host's files don't
  /// stop: then a kernel that can't make mounts read-only (before 5.12) is an error.
  LayeredRoot(const std::string& bytes, bool mayWriteHost);

  /// Where the new root lies as long as `enter` was not called.
  [[nodiscard]] const std::string& path() const noexcept { return root_; }
  /// The path in the new root of `macPath`, which is absolute; its parents are made.
  [[nodiscard]] std::string place(std::string_view macPath) const;

  /// Where to put a file that is to be seen at `macPath` beside the host's files of the same
  /// directory; its parents are made.
  [[nodiscard]] std::string placeBesideHostFiles(const std::string& macPath);
  /// Lets `macPath`, a file of the host, appear with this content; nothing when the host has none.
  void coverFile(const std::string& macPath, std::string_view content);
  /// Shows the file or directory `source` of the host at `macPath`, which is made.
  void bind(const std::string& source, const std::string& macPath, bool directory) const;
  /// Makes a directory of the new root read-only.
  void makeReadOnly(const std::string& macPath) const;

  /// Lays everything together and makes it the root of the calling process.
  void enter();

 private:
  void makeTreeReadOnly(const std::string& path) const;
  void bindHostDirectories() const;
  void mountOverlays() const;
  void makeDevices() const;
  void makeSys() const;

  bool mayWriteHost_;
  int hostSys_ = -1;
  std::string root_;
  std::string above_;               ///< What lies over the host's directories.
  std::set<std::string> overlays_;  ///< Directories of the host with files above.
  std::map<std::string, std::string> covers_;
};

/// Writes a new file with these permission bits; throws `std::system_error`.
void writeNewFile(const std::string& path, std::string_view content, unsigned mode = 0644);

}  // namespace simulated_mac
