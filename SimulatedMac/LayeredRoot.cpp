#include "SimulatedMac/LayeredRoot.h"

#include <fcntl.h>
#include <linux/capability.h>
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

#include "Platform/Descriptor.h"
#include "SimulatedMac/ProcessSteps.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

using Access = LayeredRoot::Access;

/// The tmpfs is mounted on this directory of the host, which exists everywhere; the Mac has a /proc
/// of its own.
constexpr const char* kWorkplace = "/proc";
constexpr const char* kNewRoot = "/proc/root";
/// The host's root directory in the Mac until `finish`, and the upper layers of the overlays.
const std::string kHost = "/.host";
const std::string kLayers = "/.host/proc/layers";

/// Top-level directories that are not taken from the host.
constexpr std::array<std::string_view, 10> kOwnTopLevel{
    "dev",          "proc",  "sys",     "System",         "Library",
    "Applications", "Users", "private", ".simulated-mac", "lost+found"};

/// What root needs to change the host despite read-only mounts.
constexpr std::array kDroppedCapabilities{CAP_SYS_ADMIN, CAP_MKNOD,     CAP_SYS_MODULE,
                                          CAP_SYS_RAWIO, CAP_NET_ADMIN, CAP_SYS_BOOT,
                                          CAP_SYS_TIME};

void mountOrFail(const std::string& source, const std::string& target, const char* type,
                 unsigned long flags, const char* options = nullptr) {
  failIf(mount(source.c_str(), target.c_str(), type, flags, options) != 0,
         "mount " + source + " on " + target);
}

/// Mounts a file, or a directory with all that is mounted below it, on `target`.
void bindMount(const std::string& source, const std::string& target,
               Access access = Access::readOnly) {
  const platform::Descriptor tree(
      open_tree(AT_FDCWD, source.c_str(), AT_RECURSIVE | OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC));
  mount_attr attributes{};
  (access == Access::readOnly ? attributes.attr_set : attributes.attr_clr) = MOUNT_ATTR_RDONLY;
  failIf(!tree ||
             mount_setattr(tree.get(), "", AT_EMPTY_PATH | AT_RECURSIVE, &attributes,
                           sizeof attributes) != 0 ||
             move_mount(tree.get(), "", AT_FDCWD, target.c_str(), MOVE_MOUNT_F_EMPTY_PATH) != 0,
         "bind " + source + " to " + target);
}

/// Shows a file of the host at `target`.
void showFile(const std::string& source, const std::string& target,
              Access access = Access::readOnly) {
  std::ofstream(target).flush();
  bindMount(kHost + source, target, access);
}

bool isOwnTopLevel(std::string_view name) {
  return std::ranges::find(kOwnTopLevel, name) != kOwnTopLevel.end();
}

/// The mount points below `directory`, parents first.
std::set<std::string> mountPointsBelow(const std::string& directory) {
  std::ifstream table("/proc/self/mountinfo");
  std::set<std::string> found;
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string point;
    for (int field = 0; field < 5; ++field) {
      fields >> point;
    }
    if (point.starts_with(directory + "/")) {
      found.insert(point);
    }
  }
  return found;
}

void bindHostDirectories() {
  for (const fs::directory_entry& entry : fs::directory_iterator(kHost)) {
    const fs::path path = "/" / entry.path().filename();
    if (isOwnTopLevel(entry.path().filename().native())) {
      continue;
    }
    if (entry.is_symlink()) {
      fs::copy_symlink(entry.path(), path);
    } else if (entry.is_directory()) {
      fs::create_directory(path);
      bindMount(entry.path(), path);
    }
  }
}

void mountDevices() {
  fs::create_directories("/dev/shm");
  if (fs::is_directory(kHost + "/dev/shm")) {  // builds may run there
    bindMount(kHost + "/dev/shm", "/dev/shm");
  }
  for (const std::string name : {"null", "zero", "full", "random", "urandom", "tty"}) {
    showFile("/dev/" + name, "/dev/" + name);
  }
  // Terminals of the Mac's own: programs can't reach the host's, except for the one they run in.
  fs::create_directories("/dev/pts");
  mountOrFail("devpts", "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC,
              "newinstance,ptmxmode=0666,mode=0620");
  for (const auto& [target, path] :
       {std::pair{"/proc/self/fd", "/dev/fd"}, std::pair{"/proc/self/fd/0", "/dev/stdin"},
        std::pair{"/proc/self/fd/1", "/dev/stdout"}, std::pair{"/proc/self/fd/2", "/dev/stderr"},
        std::pair{"pts/ptmx", "/dev/ptmx"}}) {
    fs::create_symlink(target, path);
  }
}

void mountSys() {
  // Without the host's class/: the Mac has the power supplies of its scenario only.
  for (const std::string path : {"/sys/devices", "/sys/fs", "/sys/kernel"}) {
    fs::create_directories(path);
    if (fs::is_directory(kHost + path)) {
      bindMount(kHost + path, path);
    }
  }
  fs::create_directories("/sys/class/power_supply");
}

void mountProc() {
  fs::create_directories("/proc");
  mountOrFail("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC);
  for (const char* const path :
       {"/proc/sys", "/proc/sysrq-trigger", "/proc/irq", "/proc/bus", "/proc/fs"}) {
    if (fs::exists(path)) {
      bindMount(path, path);
    }
  }
}

void mountOverlay(const std::string& directory) {
  const std::set<std::string> points = mountPointsBelow(directory);
  const std::string layers = "lowerdir=" + kLayers + directory + ":" + kHost + directory;
  mountOrFail("overlay", directory, "overlay", MS_RDONLY, layers.c_str());
  // An overlay does not show what the host has mounted below its lower layer.
  for (const std::string& point : points) {
    std::error_code ignored;
    if (fs::exists(point, ignored) && !fs::exists(kLayers + point, ignored)) {
      bindMount(kHost + point, point);
    }
  }
}

}  // namespace

LayeredRoot::LayeredRoot(const std::string& bytes) {
  std::error_code unknown;
  callersDirectory_ = fs::current_path(unknown);
  mount_attr attributes{};
  attributes.attr_set = MOUNT_ATTR_RDONLY;
  attributes.propagation = MS_PRIVATE;
  failIf(mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &attributes, sizeof attributes) != 0,
         "make the host read-only");
  mountOrFail("tmpfs", kWorkplace, "tmpfs", 0, ("mode=0755,size=" + bytes).c_str());
  fs::create_directories(kNewRoot + kHost);
  fs::create_directory("/proc/layers");
  mountOrFail(kNewRoot, kNewRoot, nullptr, MS_BIND);  // the new root must be a mount point
  // Not chroot, from which root can return.
  failIf(syscall(SYS_pivot_root, kNewRoot, (kNewRoot + kHost).c_str()) != 0 || chdir("/") != 0,
         "change the root directory");
  bindHostDirectories();
  mountDevices();
  mountSys();
  mountProc();
}

void LayeredRoot::copy(const std::string& directory) const {
  fs::copy(kHost + directory, "/", fs::copy_options::recursive);
}

void LayeredRoot::writeFile(const std::string& macPath, std::string_view content, mode_t mode) {
  const std::string place = placeFor(macPath);
  fs::remove(place);
  std::ofstream file(place);
  file << content << std::flush;
  failIf(!file || chmod(place.c_str(), mode) != 0, macPath);
}

void LayeredRoot::makeLink(const std::string& macPath, const std::string& target) {
  fs::create_symlink(target, placeFor(macPath));
}

void LayeredRoot::makeDirectory(const std::string& macPath, mode_t mode) const {
  fs::create_directories(macPath);
  failIf(chmod(macPath.c_str(), mode) != 0, macPath);
}

void LayeredRoot::bindFile(const std::string& source, const std::string& macPath,
                           Access access) const {
  fs::create_directories(fs::path(macPath).parent_path());
  showFile(source, macPath, access);
}

void LayeredRoot::makeReadOnly(const std::string& macPath) const { bindMount(macPath, macPath); }

/// The place of the file that is to appear at `macPath`, with its parents: there, or in the upper
/// layer over the host's directory.
std::string LayeredRoot::placeFor(const std::string& macPath) {
  const fs::path wanted(macPath);
  fs::path existing = wanted.parent_path();
  while (!fs::is_directory(existing)) {
    existing = existing.parent_path();
  }
  // Distributions differ in which directories are symbolic links, so the path is resolved first.
  const fs::path directory = fs::canonical(existing);
  fs::path place = directory / wanted.lexically_relative(existing);
  if (directory != "/" && !isOwnTopLevel((++directory.begin())->native())) {
    overlays_.insert(directory);
    place = kLayers + place.string();
  }
  fs::create_directories(place.parent_path());
  return place;
}

void LayeredRoot::finish() const {
  for (const std::string& directory : overlays_) {  // the set's order puts parents first
    mountOverlay(directory);
  }
  failIf(umount2(kHost.c_str(), MNT_DETACH) != 0, "unmount the host");
  fs::remove(kHost);
  // A command without its caller's directory starts in the root directory.
  [[maybe_unused]] const int ignored = chdir(callersDirectory_.c_str());
  for (const int capability : kDroppedCapabilities) {
    failIf(prctl(PR_CAPBSET_DROP, capability) != 0, "drop capabilities");
  }
}

}  // namespace simulated_mac
