#include "SimulatedMac/LayeredRoot.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/openat2.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

namespace simulated_mac {
namespace fs = std::filesystem;
using platform::Descriptor;

/// A directory and a name in it.
struct Place {
  Descriptor directory;
  std::string name;
};

namespace {

/// The tmpfs is mounted here until `enter`: the directory exists everywhere, and nobody needs the
/// files that this hides.
constexpr const char* kWorkplace = "/sys";
constexpr const char* kNewRoot = "/sys/root";
constexpr const char* kLayers = "/sys/layers";

/// Top-level directories that are not taken from the host.
constexpr std::array<std::string_view, 10> kOwnTopLevel{
    "dev",          "proc",  "sys",     "System",         "Library",
    "Applications", "Users", "private", ".simulated-mac", "lost+found"};

/// What root needs to change the host despite read-only mounts.
constexpr std::array kDroppedCapabilities{CAP_SYS_ADMIN, CAP_MKNOD,     CAP_SYS_MODULE,
                                          CAP_SYS_RAWIO, CAP_NET_ADMIN, CAP_SYS_BOOT,
                                          CAP_SYS_TIME};

void failIf(bool failed, const std::string& what) {
  if (failed) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

void mountOrFail(const std::string& source, const std::string& target, const char* type,
                 unsigned long flags, const char* options = nullptr) {
  failIf(mount(source.c_str(), target.c_str(), type, flags, options) != 0,
         "mount " + std::string(type == nullptr ? source : type) + " on " + target);
}

Descriptor openPath(const std::string& path) {
  Descriptor opened(open(path.c_str(), O_PATH | O_CLOEXEC));
  failIf(!opened, path);
  return opened;
}

/// Opens what `path` names below the directory `top`, and nothing else.
Descriptor openBelow(const Descriptor& top, const std::string& path, std::uint64_t flags,
                     mode_t mode = 0) {
  open_how how{};
  how.flags = flags | O_CLOEXEC;
  how.mode = mode;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
  Descriptor opened(
      static_cast<int>(syscall(SYS_openat2, top.get(), path.c_str(), &how, sizeof how)));
  failIf(!opened, path);
  return opened;
}

/// Resolves an absolute path below `top`; makes missing parents.
Place placeBelow(const Descriptor& top, const fs::path& path) {
  Descriptor directory = openBelow(top, ".", O_PATH | O_DIRECTORY);
  for (const fs::path& name : path.relative_path().parent_path()) {
    failIf(mkdirat(directory.get(), name.c_str(), 0755) != 0 && errno != EEXIST, path);
    directory = openBelow(directory, name, O_PATH | O_DIRECTORY);
  }
  return {.directory = std::move(directory), .name = path.filename()};
}

Descriptor openPlace(const Place& place) { return openBelow(place.directory, place.name, O_PATH); }

void writeAt(const Place& place, std::string_view content, mode_t mode) {
  const Descriptor file =
      openBelow(place.directory, place.name, O_WRONLY | O_CREAT | O_TRUNC, mode);
  errno = platform::writeAll(file.get(), content);
  failIf(errno != 0 || fchmod(file.get(), mode) != 0, place.name);
}

void linkAt(const Place& place, const std::string& target) {
  failIf(symlinkat(target.c_str(), place.directory.get(), place.name.c_str()) != 0, place.name);
}

Descriptor makeDirectoryAt(const Place& place) {
  failIf(mkdirat(place.directory.get(), place.name.c_str(), 0755) != 0 && errno != EEXIST,
         place.name);
  return openBelow(place.directory, place.name, O_RDONLY | O_DIRECTORY);
}

/// Mounts a file, or a directory with all that is mounted below it, on `target`.
void bind(const Descriptor& source, const Descriptor& target, LayeredRoot::Access access) {
  const Descriptor tree(open_tree(
      source.get(), "", AT_EMPTY_PATH | AT_RECURSIVE | OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC));
  mount_attr attributes{};
  attributes.attr_set = access == LayeredRoot::Access::readOnly ? MOUNT_ATTR_RDONLY : 0;
  failIf(!tree ||
             mount_setattr(tree.get(), "", AT_EMPTY_PATH | AT_RECURSIVE, &attributes,
                           sizeof attributes) != 0 ||
             move_mount(tree.get(), "", target.get(), "",
                        MOVE_MOUNT_F_EMPTY_PATH | MOVE_MOUNT_T_EMPTY_PATH) != 0,
         "bind mount");
}

/// The host's outermost mount points below `directory`.
std::vector<std::string> mountPointsBelow(const std::string& directory) {
  std::ifstream table("/proc/self/mountinfo");
  std::vector<std::string> found;
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string point;
    for (int field = 0; field < 5; ++field) {
      fields >> point;
    }
    if (point.starts_with(directory + "/")) {
      found.push_back(point + "/");
    }
  }
  std::ranges::sort(found);
  const auto inside = std::ranges::unique(
      found, [](const auto& outer, const auto& inner) { return inner.starts_with(outer); });
  found.erase(inside.begin(), inside.end());
  return found;
}

}  // namespace

LayeredRoot::LayeredRoot(const std::string& bytes) {
  mountOrFail("none", "/", nullptr, MS_REC | MS_PRIVATE);
  hostSys_ = openPath(kWorkplace);
  mountOrFail("tmpfs", kWorkplace, "tmpfs", 0, ("mode=0755,size=" + bytes).c_str());
  fs::create_directory(kNewRoot);
  fs::create_directory(kLayers);
  mountOrFail(kNewRoot, kNewRoot, nullptr, MS_BIND);  // `enter` needs a mount point
  root_ = openPath(kNewRoot);
  layers_ = openPath(kLayers);
}

void LayeredRoot::copy(const std::string& directory) const {
  fs::copy(directory, kNewRoot, fs::copy_options::recursive);
}

void LayeredRoot::writeFile(const std::string& macPath, std::string_view content, mode_t mode) {
  const Place place = placeFor(macPath);
  (void)unlinkat(place.directory.get(), place.name.c_str(), 0);  // a stand-in's link
  writeAt(place, content, mode);
}

void LayeredRoot::makeDirectory(const std::string& macPath, mode_t mode) const {
  failIf(fchmod(makeDirectoryAt(placeBelow(root_, macPath)).get(), mode) != 0, macPath);
}

void LayeredRoot::makeLink(const std::string& macPath, const std::string& target) {
  linkAt(placeFor(macPath), target);
}

void LayeredRoot::remove(const std::string& macPath) const {
  const Place place = placeBelow(root_, macPath);
  failIf(unlinkat(place.directory.get(), place.name.c_str(), 0) != 0 && errno != ENOENT, macPath);
}

void LayeredRoot::changeOwner(const std::string& macPath, uid_t user, gid_t group) const {
  const Descriptor file = openPlace(placeBelow(root_, macPath));
  failIf(fchownat(file.get(), "", user, group, AT_EMPTY_PATH) != 0 && errno != EINVAL, macPath);
}

/// The place of the file that is to appear at `macPath`: in the new root, or in the upper layer
/// over the host's directory.
Place LayeredRoot::placeFor(const std::string& macPath) {
  const std::string_view topLevel = std::string_view(macPath).substr(1, macPath.find('/', 1) - 1);
  if (std::ranges::find(kOwnTopLevel, topLevel) != kOwnTopLevel.end()) {
    return placeBelow(root_, macPath);
  }
  // Distributions differ in which directories are symbolic links, so the path is resolved first.
  const fs::path wanted(macPath);
  fs::path existing = wanted.parent_path();
  while (!fs::is_directory(existing)) {
    existing = existing.parent_path();
  }
  const std::string directory = fs::canonical(existing);
  overlays_.insert(directory);
  return placeBelow(layers_, directory / wanted.lexically_relative(existing));
}

void LayeredRoot::coverFile(const std::string& macPath, std::string_view content) {
  std::error_code ignored;
  if (fs::is_regular_file(macPath, ignored)) {
    covers_[fs::canonical(macPath)] = content;
  }
}

void LayeredRoot::bindFile(const std::string& source, const std::string& macPath,
                           Access access) const {
  const Place place = placeBelow(root_, macPath);
  writeAt(place, "", 0644);
  bind(openPath(source), openPlace(place), access);
}

void LayeredRoot::bindDirectory(const std::string& source, const std::string& macPath) const {
  makeDirectory(macPath, 0755);
  bind(openPath(source), openPlace(placeBelow(root_, macPath)), Access::readOnly);
}

void LayeredRoot::makeReadOnly(const std::string& macPath) const {
  const Descriptor directory = openPlace(placeBelow(root_, macPath));
  bind(directory, directory, Access::readOnly);
}

void LayeredRoot::bindHostDirectories() const {
  for (const fs::directory_entry& entry : fs::directory_iterator("/")) {
    const std::string name = entry.path().filename();
    if (std::ranges::find(kOwnTopLevel, name) != kOwnTopLevel.end()) {
      continue;
    }
    if (entry.is_symlink()) {
      linkAt(placeBelow(root_, entry.path()), fs::read_symlink(entry.path()));
    } else if (entry.is_directory()) {
      bindDirectory(entry.path(), "/" + name);
    }
  }
}

void LayeredRoot::mountOverlays() const {
  for (const std::string& directory : overlays_) {  // the set's order puts parents first
    const std::string layers = "lowerdir=" + (kLayers + directory) + ":" + directory;
    mountOrFail("overlay", kNewRoot + directory, "overlay", MS_RDONLY, layers.c_str());
    // An overlay does not show what the host has mounted below its lower layer.
    for (const std::string& point : mountPointsBelow(directory)) {
      std::error_code ignored;
      if (fs::exists(kNewRoot + point, ignored)) {
        bind(openPath(point), openPath(kNewRoot + point), Access::readOnly);
      }
    }
  }
  int number = 0;
  for (const auto& [path, content] : covers_) {
    const Place cover = placeBelow(layers_, "/cover" + std::to_string(number++));
    writeAt(cover, content, 0644);
    bind(openPlace(cover), openPath(kNewRoot + path), Access::readOnly);
  }
}

void LayeredRoot::mountDevices() {
  makeDirectory("/dev/shm", 0755);
  if (fs::is_directory("/dev/shm")) {  // builds may run there
    bindDirectory("/dev/shm", "/dev/shm");
  }
  for (const char* const name : {"null", "zero", "full", "random", "urandom", "tty"}) {
    bindFile(std::string("/dev/") + name, std::string("/dev/") + name);
  }
  // Terminals of the Mac's own: programs can't reach the host's, except for the one they run in.
  makeDirectory("/dev/pts", 0755);
  mountOrFail("devpts", std::string(kNewRoot) + "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC,
              "newinstance,ptmxmode=0666,mode=0620");
  for (const auto& [target, name] :
       {std::pair{"/proc/self/fd", "fd"}, std::pair{"/proc/self/fd/0", "stdin"},
        std::pair{"/proc/self/fd/1", "stdout"}, std::pair{"/proc/self/fd/2", "stderr"},
        std::pair{"pts/ptmx", "ptmx"}}) {
    makeLink(std::string("/dev/") + name, target);
  }
}

void LayeredRoot::mountSys() const {
  // Without the host's class/: the Mac has the power supplies of its scenario only.
  const std::string host = "/proc/self/fd/" + std::to_string(hostSys_.get()) + "/";
  for (const std::string name : {"devices", "fs", "kernel"}) {
    makeDirectory("/sys/" + name, 0755);
    if (fs::is_directory(host + name)) {
      bindDirectory(host + name, "/sys/" + name);
    }
  }
  makeDirectory("/sys/class/power_supply", 0755);
}

void LayeredRoot::mountProc() const {
  makeDirectory("/proc", 0555);
  const std::string proc = std::string(kNewRoot) + "/proc";
  mountOrFail("proc", proc, "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC);
  for (const char* const name : {"/sys", "/sysrq-trigger", "/irq", "/bus", "/fs"}) {
    if (fs::exists(proc + name)) {
      const Descriptor settings = openPath(proc + name);
      bind(settings, settings, Access::readOnly);
    }
  }
}

void LayeredRoot::enter() {
  bindHostDirectories();
  mountOverlays();
  mountDevices();
  mountSys();
  mountProc();
  std::error_code unknown;
  const std::string directory = fs::current_path(unknown).string();
  // Not chroot, from which root can return. The old root is mounted on the new one, then detached.
  failIf(chdir(kNewRoot) != 0 || syscall(SYS_pivot_root, ".", ".") != 0 ||
             umount2(".", MNT_DETACH) != 0 || chdir("/") != 0,
         "change the root directory");
  // A command without its caller's directory starts in the root directory.
  [[maybe_unused]] const int ignored = chdir(directory.c_str());
  for (const int capability : kDroppedCapabilities) {
    failIf(prctl(PR_CAPBSET_DROP, capability) != 0, "drop capabilities");
  }
}

}  // namespace simulated_mac
