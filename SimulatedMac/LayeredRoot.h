// A new root directory in a private mount namespace: the host's files, overlaid with others.
#pragma once
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace simulated_mac {

/// Built on a tmpfs that only the calling process and its children see. The host's directories
/// are mounted read-only, so that nothing inside can change the host. Needs CAP_SYS_ADMIN in the
/// mount namespace; operations throw `std::system_error`.
class LayeredRoot {
 public:
  /// Detaches the namespace's mounts from the host's and mounts the tmpfs, `bytes` in size.
  /// `mayWriteHost`: file permissions don't keep the caller from writing to the host's files, so a
  /// kernel that can't make whole mount trees read-only (before 5.12) is an error.
  LayeredRoot(const std::string& bytes, bool mayWriteHost);

  /// The path of the new root until `enter` is called.
  [[nodiscard]] const std::string& path() const noexcept { return root_; }
  /// The path on the host of `macPath`, which is absolute; makes its parents.
  [[nodiscard]] std::string place(std::string_view macPath) const;

  /// Writes a file of the new root and makes its parents.
  void writeFile(const std::string& macPath, std::string_view content) const;
  /// Makes a directory of the new root with these permission bits, and its parents.
  void makeDirectory(const std::string& macPath, unsigned mode) const;

  /// Where to put a file that appears at `macPath` among the host's files in that directory; makes
  /// its parents.
  [[nodiscard]] std::string placeBesideHostFiles(const std::string& macPath);
  /// Shows other content at `macPath`, a file of the host; does nothing when the host has no such
  /// file.
  void coverFile(const std::string& macPath, std::string_view content);
  /// Shows the file or directory `source` of the host at `macPath`.
  void bind(const std::string& source, const std::string& macPath, bool directory) const;
  /// Makes a directory of the new root read-only.
  void makeReadOnly(const std::string& macPath) const;

  /// Mounts everything and makes it the root directory of the calling process.
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
  std::string above_;               ///< Upper layers of the overlays.
  std::set<std::string> overlays_;  ///< The host's directories that get one.
  std::map<std::string, std::string> covers_;
};

/// Writes a new file with these permission bits; throws `std::system_error`.
void writeNewFile(const std::string& path, std::string_view content, unsigned mode = 0644);

}  // namespace simulated_mac
