// Application bundles on the disk, and real processes of them.
#pragma once
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Platform/PropertyList.h"

/// A bundle `<folder>/<name>.app` with an `Info.plist` and one executable of the bundle's name. The
/// instances that it started end with this object; the files are the folder's owner's.
class ApplicationBundle {
 public:
  struct Facts {
    std::string name;
    std::string identifier;
    std::string displayName = {};  ///< Empty: none stands in the `Info.plist`.
  };

  ApplicationBundle(const std::filesystem::path& folder, const Facts& facts) {
    const std::filesystem::path contents = folder / (facts.name + ".app") / "Contents";
    std::filesystem::create_directories(contents / "MacOS");
    platform::PropertyList::Dictionary info;
    info.emplace("CFBundleIdentifier", facts.identifier);
    if (!facts.displayName.empty()) {
      info.emplace("CFBundleDisplayName", facts.displayName);
    }
    std::ofstream(contents / "Info.plist") << platform::toXML(std::move(info));
    executable_ = contents / "MacOS" / facts.name;
    std::filesystem::copy_file("/bin/sleep", executable_);
  }
  ApplicationBundle(const ApplicationBundle&) = delete;
  ApplicationBundle& operator=(const ApplicationBundle&) = delete;
  ~ApplicationBundle() {
    for (const pid_t instance : instances_) {
      kill(instance, SIGKILL);
      waitpid(instance, nullptr, 0);
    }
  }

  [[nodiscard]] const std::string& executable() const noexcept { return executable_; }

  /// Puts a script in the place of the program.
  void replaceProgramBy(std::string_view script) const {
    std::filesystem::remove(executable_);
    std::ofstream(executable_) << script;
    std::filesystem::permissions(executable_, std::filesystem::perms::owner_all);
  }

  /// Starts one instance, which runs for ten minutes unless it is killed; its process id.
  pid_t start() {
    std::string program = executable_;
    std::string seconds = "600";
    const std::array<char*, 3> arguments{program.data(), seconds.data(), nullptr};
    pid_t process = 0;
    if (const int error =
            posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments.data(), environ)) {
      throw std::system_error(error, std::generic_category(), program);
    }
    instances_.push_back(process);
    return process;
  }

  /// Waits for the end of an instance; the number of the signal that ended it, 0 for an exit.
  int endOf(pid_t instance) {
    int status = 0;
    waitpid(instance, &status, 0);
    std::erase(instances_, instance);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

 private:
  std::string executable_;
  std::vector<pid_t> instances_;
};
