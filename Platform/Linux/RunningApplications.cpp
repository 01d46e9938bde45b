#include "Platform/RunningApplications.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <map>
#include <utility>

#include "Platform/Files.h"
#include "Platform/Linux/Pidfd.h"
#include "Platform/Posix/DescriptorSystem.h"
#include "Platform/PropertyList.h"
#include "Platform/Text.h"

namespace platform {
namespace {

constexpr std::string_view kProgramFolder = "/Contents/MacOS";
constexpr std::string_view kBundleExtension = ".app";
constexpr std::string_view kDeletedMark =
    " (deleted)";  // appended by the kernel to links to deleted files
constexpr std::size_t kReadOfCommandLine = 4096;
constexpr std::size_t kReadOfStatus = 1024;
constexpr std::size_t kReadOfScript = 256;  // how much of the first line the kernel reads
constexpr std::size_t kLongestName = 255;   // bytes, as for file names
// Any user may own a bundle, so the cost of reading its Info.plist is bounded.
constexpr std::uint64_t kLargestInformationFile = std::uint64_t{256} << 10;
constexpr std::size_t kMostInformationValues = 16'384;

std::optional<FileIdentity> identityOf(const std::string& path) {
  struct stat status{};
  if (::stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  return FileIdentity{.device = status.st_dev, .number = status.st_ino};
}

bool isSameFile(const std::string& path, const std::string& other) {
  const std::optional<FileIdentity> identity = identityOf(path);
  return identity && identity == identityOf(other);
}

/// Throws `std::system_error` if this process or the system lacks descriptors or memory: then
/// nothing is known of the file.
void throwIfShort(const std::error_code& error) {
  if (error == std::errc::too_many_files_open ||
      error == std::errc::too_many_files_open_in_system || error == std::errc::not_enough_memory) {
    throw std::system_error(error);
  }
}

/// At most `most` bytes from the start of a regular file; empty if it can't be read. Throws like
/// `throwIfShort`.
std::string beginningOf(const std::string& path, std::size_t most) {
  const Descriptor file = openRegularFile(path);
  if (!file) {
    throwIfShort({errno, std::generic_category()});
    return {};
  }
  std::string bytes;
  bytes.resize_and_overwrite(most, [&](char* data, std::size_t size) {
    return static_cast<std::size_t>(std::max<ssize_t>(::read(file.get(), data, size), 0));
  });
  return bytes;
}

std::string_view parentOf(std::string_view path) {
  return path.substr(0, std::min(path.rfind('/'), path.size()));
}
std::string_view lastPartOf(std::string_view path) { return path.substr(path.rfind('/') + 1); }

/// Removes and returns the first part of `text`, up to `separator` or the end.
std::string_view takePiece(std::string_view& text, char separator) {
  const std::string_view piece = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(piece.size() + 1, text.size()));
  return piece;
}

/// The «X.app» directory of an executable «…/X.app/Contents/MacOS/name»; empty for any other path.
std::string_view bundleNameOf(std::string_view program) {
  const std::string_view folder = parentOf(program);
  if (!folder.ends_with(kProgramFolder)) {
    return {};
  }
  const std::string_view name = lastPartOf(folder.substr(0, folder.size() - kProgramFolder.size()));
  const bool isBundle = name.size() > kBundleExtension.size() && name.ends_with(kBundleExtension);
  return isBundle ? name : std::string_view{};
}

/// The Info.plist of the bundle whose executable is `program`.
std::string informationFile(std::string_view program) {
  return std::string(parentOf(program)) + "/../Info.plist";
}

/// A bundle's executable that a process is running.
struct Program {
  std::string path;      ///< The path as its process sees it.
  std::string openable;  ///< The path of the same file for this process.
};

/// The regular file that an argument of the process names, with links resolved; absent if there is
/// none.
std::optional<Program> fileNamedBy(std::string_view argument, const std::string& process) {
  const bool isAbsolute = argument.starts_with('/');
  const std::string named = process + (isAbsolute ? "/root" : "/cwd/") + std::string(argument);
  std::error_code error;
  const std::string path = std::filesystem::canonical(named, error).string();
  if (error || !std::filesystem::is_regular_file(path, error)) {
    return std::nullopt;
  }
  return Program{.path = path, .openable = path};
}

/// Whether the process at `process` (its directory in /proc) is the script's interpreter. Otherwise
/// it only has the file as an argument, like an editor.
bool isInterpreterOf(const std::string& process, std::string_view name, const std::string& script) {
  const std::string beginning = beginningOf(script, kReadOfScript);
  std::string_view line = beginning;
  line = takePiece(line, '\n');
  if (!line.starts_with("#!")) {
    return false;
  }
  line.remove_prefix(2);
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  const std::string_view interpreter = line.substr(0, line.find_first_of(" \t"));
  line.remove_prefix(interpreter.size());
  if (lastPartOf(interpreter) != "env") {
    return isSameFile(process + "/root" + std::string(interpreter), process + "/exe");
  }
  while (!line.empty()) {  // env [option]… [NAME=value]… program
    const std::string_view word = takePiece(line, ' ');
    if (!word.empty() && !word.starts_with('-') && !word.contains('=')) {
      return lastPartOf(word) == lastPartOf(name);
    }
  }
  return false;
}

/// The executable itself if it is in a bundle. The kernel gives the path relative to this process's
/// root if it is reachable from there, else to the root of the other process.
std::optional<Program> ownProgram(const std::string& process, std::string path) {
  if (path.ends_with(kDeletedMark) && !identityOf(path)) {
    path.resize(path.size() - kDeletedMark.size());
  }
  if (bundleNameOf(path).empty()) {
    return std::nullopt;
  }
  const std::array<std::string, 2> roots = {"", process + "/root"};
  for (const std::string& root : roots) {
    if (isSameFile(root + path, process + "/exe")) {
      return Program{.path = path, .openable = root + path};
    }
  }
  for (const std::string& root : roots) {  // the file was replaced, for example by an update
    if (identityOf(informationFile(root + path))) {
      return Program{.path = path, .openable = root + path};
    }
  }
  return std::nullopt;
}

/// The script that the process interprets if it is in a bundle: the first argument that names a
/// file. Arguments before it are options and their values; after «-c» the program is given inline
/// and there is no script.
std::optional<Program> interpretedScript(const std::string& process) {
  const std::string commandLine = beginningOf(process + "/cmdline", kReadOfCommandLine);
  std::string_view arguments = commandLine;
  const std::string_view name = takePiece(arguments, '\0');
  while (!arguments.empty()) {
    const std::string_view argument = takePiece(arguments, '\0');
    if (argument.starts_with('-')) {
      if (!argument.starts_with("--") && argument.ends_with('c')) {
        break;
      }
    } else if (std::optional<Program> program = fileNamedBy(argument, process)) {
      const bool isScript =
          !bundleNameOf(program->path).empty() && isInterpreterOf(process, name, program->openable);
      return isScript ? std::move(program) : std::nullopt;
    }
  }
  return std::nullopt;
}

/// The bundle executable that the process is running; absent for any other process and for one that
/// can't be inspected. A zombie has no executable.
std::optional<Program> bundleProgram(const std::string& process) {
  std::error_code error;
  std::string executable = std::filesystem::read_symlink(process + "/exe", error).string();
  if (error) {
    return std::nullopt;
  }
  std::optional<Program> program = ownProgram(process, std::move(executable));
  return program ? std::move(program) : interpretedScript(process);
}

/// The contents of a bundle's Info.plist.
struct Information {
  std::string identifier;
  std::string name;  ///< Empty if missing.
};

std::string textUnder(const PropertyList& list, std::string_view key) {
  const PropertyList* value = list.find(key);
  const std::string* text = value == nullptr ? nullptr : value->as<std::string>();
  return text == nullptr ? std::string{} : *text;
}

/// A name that is safe to show and to pass to a program; empty if the file has none.
std::string nameUnder(const PropertyList& list, std::string_view key) {
  std::string name = textUnder(list, key);
  return name.size() <= kLongestName && !name.contains('\0') ? name : std::string{};
}

/// The Info.plist files of one search, each read once.
class InformationFiles {
 public:
  /// Null when there is no such file. Throws like `throwIfShort`.
  const Information* read(const std::string& path) {
    const std::optional<FileIdentity> identity = identityOf(path);
    if (!identity) {
      return nullptr;
    }
    auto entry = known_.find(*identity);
    if (entry == known_.end()) {
      entry = known_.emplace(*identity, decode(path)).first;
    }
    return &entry->second;
  }

 private:
  static Information decode(const std::string& path) {
    const auto bytes = readFile(path, {.maximumBytes = kLargestInformationFile});
    if (!bytes) {
      throwIfShort(bytes.error().code);
    }
    const auto list = bytes ? parsePropertyList(*bytes, kMostInformationValues) : PropertyList();
    if (!list) {
      return {};
    }
    Information information{.identifier = textUnder(*list, "CFBundleIdentifier"),
                            .name = nameUnder(*list, "CFBundleDisplayName")};
    if (information.name.empty()) {
      information.name = nameUnder(*list, "CFBundleName");
    }
    return information;
  }

  std::map<FileIdentity, Information> known_;
};

bool hasEnded(const Descriptor& pidfd) {
  pollfd event{.fd = pidfd.get(), .events = POLLIN, .revents = 0};
  return ::poll(&event, 1, 0) > 0;
}

/// The start time of the process with this id, in ticks since boot; absent when there is none.
std::optional<std::uint64_t> startOf(pid_t pid) {
  const std::string status = beginningOf("/proc/" + std::to_string(pid) + "/stat", kReadOfStatus);
  std::string_view fields = status;
  fields.remove_prefix(
      std::min(fields.rfind(')') + 1, fields.size()));  // names may contain any byte
  constexpr int kFieldsBefore = 20;  // starting with the state, which follows the name and a space
  for (int field = 0; field < kFieldsBefore; ++field) {
    takePiece(fields, ' ');
  }
  const std::string_view start = takePiece(fields, ' ');
  return wholeNumber<std::uint64_t>(start);
}

/// Kills the process with this id if it started at this time. A descriptor of the process would
/// identify it as well, but one for each of a thousand instances could use up the agent's.
bool killProcess(pid_t pid, std::uint64_t start) try {
  const Descriptor pidfd =
      openPidfd(pid);  // before the check, so that the signal can't hit another process
  return pidfd && startOf(pid) == start && !hasEnded(pidfd) && sendPidfdSignal(pidfd, SIGKILL) == 0;
} catch (const std::system_error&) {  // whose process it is now can't be learned
  return false;
}

/// The process as an instance of the application with this identifier, or of any application if it
/// is absent. Absent for other processes.
std::optional<ApplicationProcess> instanceOf(std::optional<std::string_view> identifier, pid_t pid,
                                             InformationFiles& files) {
  const std::string process = "/proc/" + std::to_string(pid);
  const auto informationOf = [&](const std::optional<Program>& program) -> const Information* {
    const Information* read = program ? files.read(informationFile(program->openable)) : nullptr;
    const bool fits = read != nullptr && !read->identifier.empty() &&
                      read->identifier == identifier.value_or(read->identifier);
    return fits ? read : nullptr;
  };
  if (informationOf(bundleProgram(process)) == nullptr) {
    return std::nullopt;
  }
  // The id may have been reused since. Read again: if the pidfd's process is still alive
  // afterwards, what was read belongs to it.
  const Descriptor pidfd = openPidfd(pid);
  const std::optional<std::uint64_t> start = startOf(pid);
  std::optional<Program> program = bundleProgram(process);
  const Information* information = informationOf(program);
  if (!start || !program || information == nullptr || (pidfd && hasEnded(pidfd))) {
    return std::nullopt;
  }
  std::string name = information->name;
  if (name.empty()) {
    name = bundleNameOf(program->path);
    name.resize(name.size() - kBundleExtension.size());
  }
  return ApplicationProcess{
      .bundleIdentifier = information->identifier,
      .localizedName = std::move(name),
      .processIdentifier = pid,
      .executableURL = std::move(program->path),
      .forceTerminate = [pid, start = *start] { return killProcess(pid, start); }};
}

/// Throws `std::system_error` if they can't be listed.
std::vector<pid_t> allProcesses() {
  std::vector<pid_t> pids;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), ::closedir);
  if (!folder) {
    throw std::system_error(errno, std::generic_category());
  }
  while (const dirent* entry = ::readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (const auto pid = wholeNumber<pid_t>(name)) {
      pids.push_back(*pid);
    }
  }
  std::ranges::sort(pids);
  return pids;
}

}  // namespace

std::vector<ApplicationProcess> runningApplications(
    std::optional<std::string_view> bundleIdentifier, std::error_code* failure) {
  std::vector<ApplicationProcess> found;
  if (bundleIdentifier == "") {
    return found;
  }
  InformationFiles files;
  std::error_code latest;
  const auto guarded = [&](const auto& work) {
    try {
      work();
    } catch (const std::system_error& error) {
      latest = error.code();
    }
  };
  guarded([&] {
    for (const pid_t pid : allProcesses()) {
      guarded([&] {
        if (auto application = instanceOf(bundleIdentifier, pid, files)) {
          found.push_back(*std::move(application));
        }
      });
    }
  });
  if (failure != nullptr) {
    *failure = latest;
  }
  return found;
}

}  // namespace platform
