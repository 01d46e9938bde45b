#include "Platform/RunningApplications.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <filesystem>
#include <map>
#include <utility>

#include "Platform/Files.h"
#include "Platform/Linux/Pidfd.h"
#include "Platform/PropertyList.h"

namespace platform {
namespace {

constexpr std::string_view kProgramFolder = "/Contents/MacOS";
constexpr std::string_view kBundleExtension = ".app";
constexpr std::string_view kDeletedMark = " (deleted)";  // the kernel's, on a link to a gone file
constexpr std::size_t kReadOfCommandLine = 4096;
constexpr std::size_t kReadOfScript = 256;  // what the kernel reads of its first line
constexpr std::uint64_t kLargestInformationFile = std::uint64_t{4} << 20;

/// Which file a path leads to.
struct FileIdentity {
  dev_t device;
  ino_t number;
  friend auto operator<=>(const FileIdentity&, const FileIdentity&) = default;
};

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

std::optional<std::string> readLink(const std::string& path) {
  std::array<char, PATH_MAX> target;  // NOLINT(*-member-init): filled by the call
  const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
  return size < 0 ? std::nullopt
                  : std::optional(std::string(target.data(), static_cast<std::size_t>(size)));
}

/// The first bytes of a file, at most `most`; never waits, as for a FIFO. Empty on failure.
std::string beginningOf(const std::string& path, std::size_t most) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
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

/// Takes the first piece of `text` away, up to `separator` or the end.
std::string_view takePiece(std::string_view& text, char separator) {
  const std::string_view piece = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(piece.size() + 1, text.size()));
  return piece;
}

/// The «X.app» of a program «…/X.app/Contents/MacOS/name»; empty for any other path.
std::string_view bundleNameOf(std::string_view program) {
  const std::string_view folder = parentOf(program);
  if (!folder.ends_with(kProgramFolder)) {
    return {};
  }
  const std::string_view name = lastPartOf(folder.substr(0, folder.size() - kProgramFolder.size()));
  const bool isBundle = name.size() > kBundleExtension.size() && name.ends_with(kBundleExtension);
  return isBundle ? name : std::string_view{};
}

/// The information file of the bundle whose program is at `program`.
std::string informationFile(std::string_view program) {
  return std::string(parentOf(program)) + "/../Info.plist";
}

/// A program of some bundle, as a process runs it.
struct Program {
  std::string path;      ///< As its process would name it.
  std::string openable;  ///< Where this process finds the same file.
};

struct CommandLine {
  std::string_view name;    ///< The first argument: the program.
  std::string_view script;  ///< The first one that is no option; empty when there is none.
};

/// What an interpreter's arguments say; a text that is itself the program («-c») is no script.
CommandLine readCommandLine(std::string_view arguments) {
  CommandLine read{.name = takePiece(arguments, '\0'), .script = {}};
  while (!arguments.empty()) {
    const std::string_view argument = takePiece(arguments, '\0');
    if (!argument.starts_with('-')) {
      read.script = argument;
      break;
    }
    if (!argument.starts_with("--") && argument.ends_with('c')) {
      break;
    }
  }
  return read;
}

/// Whether the program of the process at `process` (its folder in /proc) is the one that the
/// script's first line names. A file that is only looked at, by an editor say, doesn't run.
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

/// The executable itself, when it is a bundle's. The kernel names it by this process's own root
/// where that reaches it, else by the root of the process.
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
  for (const std::string& root : roots) {  // the file has been replaced, as by an update
    if (identityOf(informationFile(root + path))) {
      return Program{.path = path, .openable = root + path};
    }
  }
  return std::nullopt;
}

/// The script that the process interprets, when it is a bundle's.
std::optional<Program> interpretedScript(const std::string& process) {
  const std::string arguments = beginningOf(process + "/cmdline", kReadOfCommandLine);
  const auto [name, script] = readCommandLine(arguments);
  if (script.empty()) {
    return std::nullopt;
  }
  Program program;
  if (script.starts_with('/')) {
    program.path = script;
    program.openable = process + "/root" + program.path;
  } else {
    const std::optional<std::string> directory = readLink(process + "/cwd");
    if (!directory) {
      return std::nullopt;
    }
    program.path = (std::filesystem::path(*directory) / script).lexically_normal().string();
    program.openable = process + "/cwd/" + std::string(script);
  }
  if (bundleNameOf(program.path).empty() || !isInterpreterOf(process, name, program.openable)) {
    return std::nullopt;
  }
  return program;
}

/// The program of a bundle that the process runs; absent for any other process and for one that
/// can't be looked at. A process that has ended and waits for its parent has no executable.
std::optional<Program> bundleProgram(const std::string& process) {
  std::optional<std::string> executable = readLink(process + "/exe");
  if (!executable) {
    return std::nullopt;
  }
  std::optional<Program> program = ownProgram(process, std::move(*executable));
  return program ? std::move(program) : interpretedScript(process);
}

/// What a bundle's information file says.
struct Information {
  std::string identifier;
  std::string name;  ///< Empty when the file has none.
};

std::string textUnder(const PropertyList& list, std::string_view key) {
  const PropertyList* value = list.find(key);
  const std::string* text = value == nullptr ? nullptr : value->as<std::string>();
  return text == nullptr ? std::string{} : *text;
}

/// The information files of one search, each read once.
class InformationFiles {
 public:
  /// Null when there is no such file.
  const Information* read(const std::string& path) {
    const std::optional<FileIdentity> identity = identityOf(path);
    if (!identity) {
      return nullptr;
    }
    const auto [entry, isNew] = known_.try_emplace(*identity);
    if (isNew) {
      entry->second = decode(path);
    }
    return &entry->second;
  }

 private:
  static Information decode(const std::string& path) {
    const auto bytes = readFile(path, {.maximumBytes = kLargestInformationFile});
    const auto list = bytes ? parsePropertyList(*bytes) : PropertyList();
    if (!list) {
      return {};
    }
    Information information{.identifier = textUnder(*list, "CFBundleIdentifier"),
                            .name = textUnder(*list, "CFBundleDisplayName")};
    if (information.name.empty()) {
      information.name = textUnder(*list, "CFBundleName");
    }
    return information;
  }

  std::map<FileIdentity, Information> known_;
};

bool hasEnded(const Descriptor& pidfd) {
  pollfd event{.fd = pidfd.get(), .events = POLLIN, .revents = 0};
  return ::poll(&event, 1, 0) > 0;
}

class FoundApplication final : public ApplicationProcess {
 public:
  FoundApplication(pid_t pid, Descriptor pidfd, std::string name, std::string path)
      : pid_(pid), pidfd_(std::move(pidfd)), name_(std::move(name)), path_(std::move(path)) {}

  [[nodiscard]] std::optional<std::string> localizedName() const override { return name_; }
  [[nodiscard]] std::int32_t processIdentifier() const override { return pid_; }
  [[nodiscard]] std::optional<std::string> executablePath() const override { return path_; }
  bool forceTerminate() override {
    return pidfd_ && !hasEnded(pidfd_) && sendPidfdSignal(pidfd_, SIGKILL) == 0;
  }

 private:
  pid_t pid_;
  Descriptor pidfd_;
  std::string name_;
  std::string path_;
};

/// The application that the process is an instance of, when that bears the identifier.
std::unique_ptr<ApplicationProcess> instanceOf(std::string_view identifier, pid_t pid,
                                               InformationFiles& files) {
  const std::string process = "/proc/" + std::to_string(pid);
  const auto informationOf = [&](const std::optional<Program>& program) -> const Information* {
    const Information* read = program ? files.read(informationFile(program->openable)) : nullptr;
    return read != nullptr && read->identifier == identifier ? read : nullptr;
  };
  if (informationOf(bundleProgram(process)) == nullptr) {
    return nullptr;
  }
  // The id may have been used again since. So hold the process, then look once more: what is
  // seen before its end is its own.
  Descriptor pidfd = openPidfd(pid);
  std::optional<Program> program = bundleProgram(process);
  const Information* information = informationOf(program);
  if (!program || information == nullptr || (pidfd && hasEnded(pidfd))) {
    return nullptr;
  }
  std::string name = information->name;
  if (name.empty()) {
    name = bundleNameOf(program->path);
    name.resize(name.size() - kBundleExtension.size());
  }
  return std::make_unique<FoundApplication>(pid, std::move(pidfd), std::move(name),
                                            std::move(program->path));
}

std::vector<pid_t> allProcesses() {
  std::vector<pid_t> pids;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), ::closedir);
  while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
    const std::string_view name = entry->d_name;
    pid_t pid = 0;
    if (std::from_chars(name.data(), name.data() + name.size(), pid).ec == std::errc{}) {
      pids.push_back(pid);
    }
  }
  std::ranges::sort(pids);
  return pids;
}

}  // namespace

std::vector<std::unique_ptr<ApplicationProcess>> runningApplications(
    std::string_view bundleIdentifier) {
  std::vector<std::unique_ptr<ApplicationProcess>> found;
  InformationFiles files;
  for (const pid_t pid : allProcesses()) {
    if (auto application = instanceOf(bundleIdentifier, pid, files)) {
      found.push_back(std::move(application));
    }
  }
  return found;
}

}  // namespace platform
