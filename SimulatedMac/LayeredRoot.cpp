#include "SimulatedMac/LayeredRoot.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
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
namespace {

/// Top-level directories that are not taken from the host.
constexpr std::array<std::string_view, 10> kOwnTopLevel{
    "dev",          "proc",  "sys",     "System",         "Library",
    "Applications", "Users", "private", ".simulated-mac", "lost+found"};

[[noreturn]] void fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void mountOrFail(const std::string& source, const std::string& target, const char* type,
                 unsigned long flags, const char* options = nullptr) {
  if (mount(source.c_str(), target.c_str(), type, flags, options) != 0) {
    fail("mount " + std::string(type == nullptr ? source : type) + " on " + target);
  }
}

void bindMount(const std::string& source, const std::string& target) {
  mountOrFail(source, target, nullptr, MS_BIND | MS_REC);
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

void writeNewFile(const std::string& path, std::string_view content, unsigned mode) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
  if (file < 0) {
    fail(path);
  }
  const ssize_t written = write(file, content.data(), content.size());
  const bool complete = written == static_cast<ssize_t>(content.size()) && fchmod(file, mode) == 0;
  const int reason = errno;
  close(file);
  if (!complete) {
    errno = reason;
    fail(path);
  }
}

LayeredRoot::LayeredRoot(const std::string& bytes, bool mayWriteHost)
    : mayWriteHost_(mayWriteHost) {
  mountOrFail("none", "/", nullptr, MS_REC | MS_PRIVATE);
  // /sys exists everywhere, and nobody needs the files that mounting over it hides.
  hostSys_ = open("/sys", O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (hostSys_ < 0) {
    fail("/sys");
  }
  mountOrFail("tmpfs", "/sys", "tmpfs", 0, ("mode=0755,size=" + bytes).c_str());
  root_ = "/sys/root";
  above_ = "/sys/above";
  fs::create_directory(root_);
  fs::create_directory(above_);
}

std::string LayeredRoot::place(std::string_view macPath) const {
  std::string path = root_ + std::string(macPath);
  fs::create_directories(fs::path(path).parent_path());
  return path;
}

void LayeredRoot::writeFile(const std::string& macPath, std::string_view content) const {
  writeNewFile(place(macPath), content);
}

void LayeredRoot::makeDirectory(const std::string& macPath, unsigned mode) const {
  const std::string path = place(macPath);
  fs::create_directories(path);
  chmod(path.c_str(), mode);
}

std::string LayeredRoot::placeBesideHostFiles(const std::string& macPath) {
  // Distributions differ in which directories are symbolic links, so the path is resolved first.
  const fs::path wanted(macPath);
  fs::path existing = wanted.parent_path();
  while (!fs::is_directory(existing)) {
    existing = existing.parent_path();
  }
  const std::string directory = fs::canonical(existing);
  overlays_.insert(directory);
  std::string path = above_ + (fs::path(directory) / wanted.lexically_relative(existing)).string();
  fs::create_directories(fs::path(path).parent_path());
  return path;
}

void LayeredRoot::coverFile(const std::string& macPath, std::string_view content) {
  std::error_code ignored;
  if (fs::is_regular_file(macPath, ignored)) {
    covers_[fs::canonical(macPath)] = content;
  }
}

void LayeredRoot::bind(const std::string& source, const std::string& macPath,
                       bool directory) const {
  const std::string target = place(macPath);
  if (directory) {
    fs::create_directories(target);
  } else if (!fs::exists(target)) {
    writeNewFile(target, "");
  }
  bindMount(source, target);
}

void LayeredRoot::makeReadOnly(const std::string& macPath) const {
  const std::string path = root_ + macPath;
  bindMount(path, path);
  makeTreeReadOnly(path);
}

void LayeredRoot::makeTreeReadOnly(const std::string& path) const {
  mount_attr attributes{};
  attributes.attr_set = MOUNT_ATTR_RDONLY;
  const bool done =
      mount_setattr(AT_FDCWD, path.c_str(), AT_RECURSIVE, &attributes, sizeof attributes) == 0;
  // On an older kernel, file permissions protect the host's files from everyone but root.
  if (!done && (errno != ENOSYS || mayWriteHost_)) {
    fail("make " + path + " read-only");
  }
}

void LayeredRoot::bindHostDirectories() const {
  for (const fs::directory_entry& entry : fs::directory_iterator("/")) {
    const std::string name = entry.path().filename();
    const std::string target = root_ + "/" + name;
    if (std::ranges::find(kOwnTopLevel, name) != kOwnTopLevel.end()) {
      continue;
    }
    if (entry.is_symlink()) {
      fs::create_symlink(fs::read_symlink(entry.path()), target);
    } else if (entry.is_directory()) {
      fs::create_directory(target);
      bindMount(entry.path(), target);
      makeTreeReadOnly(target);
    }
  }
}

void LayeredRoot::mountOverlays() const {
  for (const std::string& directory : overlays_) {  // the set's order puts parents first
    const std::string target = root_ + directory;
    std::string layers = "lowerdir=";
    layers.append(above_).append(directory).append(":").append(directory);
    mountOrFail("overlay", target, "overlay", MS_RDONLY, layers.c_str());
    // An overlay does not show what the host has mounted below its lower layer.
    for (const std::string& point : mountPointsBelow(directory)) {
      std::error_code ignored;
      if (fs::exists(root_ + point, ignored)) {
        bindMount(point, root_ + point);
        makeTreeReadOnly(root_ + point);
      }
    }
  }
  int number = 0;
  for (const auto& [path, content] : covers_) {
    const std::string cover = above_ + "/cover" + std::to_string(number++);
    writeNewFile(cover, content);
    bindMount(cover, root_ + path);
  }
}

void LayeredRoot::makeDevices() const {
  const std::string dev = root_ + "/dev";
  fs::create_directories(dev + "/shm");
  if (fs::is_directory("/dev/shm")) {  // builds may run there
    bindMount("/dev/shm", dev + "/shm");
    makeTreeReadOnly(dev + "/shm");
  }
  for (const char* const name : {"null", "zero", "full", "random", "urandom", "tty"}) {
    bind(std::string("/dev/") + name, std::string("/dev/") + name, false);
  }
  fs::create_directory(dev + "/pts");
  if (fs::is_directory("/dev/pts")) {
    bindMount("/dev/pts", dev + "/pts");
  }
  for (const auto& [target, name] :
       {std::pair{"/proc/self/fd", "fd"}, std::pair{"/proc/self/fd/0", "stdin"},
        std::pair{"/proc/self/fd/1", "stdout"}, std::pair{"/proc/self/fd/2", "stderr"},
        std::pair{"pts/ptmx", "ptmx"}}) {
    fs::create_symlink(target, dev + "/" + name);
  }
}

void LayeredRoot::makeSys() const {
  // Without the host's class/: the Mac has the power supplies of its scenario only.
  const std::string host = "/proc/self/fd/" + std::to_string(hostSys_);
  for (const char* const name : {"devices", "fs", "kernel"}) {
    const std::string target = root_ + "/sys/" + name;
    fs::create_directories(target);
    if (fs::is_directory(host + "/" + name)) {
      bindMount(host + "/" + name, target);
      makeTreeReadOnly(target);
    }
  }
  fs::create_directories(root_ + "/sys/class/power_supply");
}

void LayeredRoot::enter() {
  bindHostDirectories();
  mountOverlays();
  makeDevices();
  makeSys();
  fs::create_directory(root_ + "/proc");
  mountOrFail("proc", root_ + "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC);
  const std::string directory = [] {
    std::error_code ignored;
    return fs::current_path(ignored).string();
  }();
  if (chroot(root_.c_str()) != 0) {
    fail("chroot");
  }
  if (directory.empty() || chdir(directory.c_str()) != 0) {
    if (chdir("/") != 0) {
      fail("chdir");
    }
  }
  close(hostSys_);
}

}  // namespace simulated_mac
