// A new root directory in a private mount namespace: the host's files, overlaid with others.
#pragma once
#include <sys/types.h>

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Descriptor.h"

namespace simulated_mac {

struct Place;

/// Built on a tmpfs that only the calling process and its children see. All that comes from the
/// host is mounted read-only, so that nothing inside can change the host. Paths in the Mac are
/// absolute; the kernel resolves them below the new root, so that none leads to a file of the host:
/// one with ".." or through a symbolic link is an error. Needs CAP_SYS_ADMIN in the mount namespace
/// and Linux 5.12; operations throw `std::system_error`.
class LayeredRoot {
 public:
  /// Detaches the namespace's mounts from the host's and mounts the tmpfs, `bytes` in size.
  explicit LayeredRoot(const std::string& bytes);

  /// Copies the host's directory into the new root.
  void copy(const std::string& directory) const;
  /// Writes a file and makes its parents; if the host has that directory, the file appears among
  /// the host's. Replaces a link made before.
  void writeFile(const std::string& macPath, std::string_view content, mode_t mode = 0644);
  /// Makes a directory of the new root with these permission bits, and its parents.
  void makeDirectory(const std::string& macPath, mode_t mode) const;
  /// Makes a symbolic link in the same way.
  void makeLink(const std::string& macPath, const std::string& target);
  /// Removes a file of the new root, if there is one.
  void remove(const std::string& macPath) const;
  /// Has no effect in a user namespace with a single user.
  void changeOwner(const std::string& macPath, uid_t user, gid_t group) const;

  /// Shows other content at `macPath`, a file of the host; does nothing when the host has no such
  /// file.
  void coverFile(const std::string& macPath, std::string_view content);

  enum class Access : bool { readOnly, readWrite };
  /// Shows a file of the host at `macPath`.
  void bindFile(const std::string& source, const std::string& macPath,
                Access access = Access::readOnly) const;
  /// Makes a directory of the new root read-only.
  void makeReadOnly(const std::string& macPath) const;

  /// Mounts everything, makes it the root directory of the calling process and its children, and
  /// drops the capabilities with which root could still change the host.
  void enter();

 private:
  void bindDirectory(const std::string& source, const std::string& macPath) const;
  void bindHostDirectories() const;
  void mountOverlays() const;
  void mountDevices();
  void mountSys() const;
  void mountProc() const;
  [[nodiscard]] Place placeFor(const std::string& macPath);

  platform::Descriptor hostSys_;
  platform::Descriptor root_;
  platform::Descriptor layers_;     ///< Upper layers of the overlays.
  std::set<std::string> overlays_;  ///< The host's directories that get one.
  std::map<std::string, std::string> covers_;
};

}  // namespace simulated_mac
