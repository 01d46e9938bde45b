#include "SimulatedMac/MacFiles.h"

#include <sys/types.h>
#include <unistd.h>
#include <utmpx.h>

#include <cctype>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "Platform/PropertyList.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ProcessSteps.h"
#include "SimulatedMac/ScenarioRules.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

constexpr gid_t kStaff = 20;

void writeVersion(LayeredRoot& root, const std::string& file, const std::string& version) {
  root.writeFile("/System/Library/CoreServices/" + file,
                 platform::toXML(platform::PropertyList::Dictionary{{"ProductName", "macOS"},
                                                                    {"ProductVersion", version}}));
}

void writeSystem(LayeredRoot& root, const Scenario& scenario) {
  const std::string version = scenario.valueOr("mac", "version", "");
  if (version != "unreadable") {
    writeVersion(root, ".SystemVersionPlatform.plist", version);
    writeVersion(root, "SystemVersion.plist",
                 scenario.valueOr("mac", "compatibility version", version));
  }
  const bool isIntel = scenario.valueOr("mac", "machine", "") == "intel";
  root.writeFile("/System/Library/CoreServices/Processor", isIntel ? "x86_64\n" : "arm64\n");
  // The host's directories for temporary files are read-only in the Mac.
  root.makeDirectory("/private/tmp", 01777);
}

void writeSessions(LayeredRoot& root, const Scenario& scenario, const std::string& console) {
  std::string records;
  int terminal = 1;
  for (const std::string& user : words(scenario.valueOr("users", "logged on", console))) {
    if (user == "none") {
      continue;
    }
    const std::string line = user == console ? "console" : "ttys00" + std::to_string(terminal++);
    utmpx record{};
    record.ut_type = USER_PROCESS;
    record.ut_pid = 1;  // exists as long as the Mac
    line.copy(record.ut_line, sizeof record.ut_line - 1);
    user.copy(record.ut_user, sizeof record.ut_user - 1);
    record.ut_tv.tv_sec = static_cast<decltype(record.ut_tv.tv_sec)>(std::time(nullptr));
    records.append(reinterpret_cast<const char*>(&record), sizeof record);
  }
  root.writeFile("/var/run/utmp", records);
}

/// Has no effect in a user namespace with a single user.
void changeOwner(const std::string& path, uid_t user) {
  failIf(chown(path.c_str(), user, kStaff) != 0 && errno != EINVAL, path);
}

void writeUsers(LayeredRoot& root, const Scenario& scenario) {
  const std::string console = scenario.valueOr("users", "console", "none");
  root.writeFile("/dev/console", "");
  std::string passwords = "root:x:0:0:System Administrator:/var/root:/bin/sh\n";
  for (const std::string& account : scenario.values("users", "account")) {
    const std::vector<std::string> fields = words(account);
    const std::string& name = fields[0];
    const auto number = static_cast<uid_t>(std::stoul(fields[1]));
    const std::string home = "/Users/" + name;
    passwords +=
        LogCore::text(name, ":x:", number, ":", kStaff, ":", name, ":", home, ":/bin/sh\n");
    root.makeDirectory(home);
    changeOwner(home, number);
    if (name == console) {
      changeOwner("/dev/console", number);
    }
  }
  root.writeFile("/etc/passwd", passwords);
  root.writeFile("/etc/nsswitch.conf", "passwd: files\ngroup: files\nshadow: files\n");
  writeSessions(root, scenario, console);
}

void writePower(LayeredRoot& root, const Scenario& scenario) {
  int number = 0;
  for (const std::string& source : scenario.values("power", "source")) {
    const std::vector<std::string> fields = words(source);
    if (fields[0] == "none") {
      continue;
    }
    const bool isMains = fields[0] == "mains";
    const std::string folder = LogCore::text(
        "/sys/class/power_supply/", isMains ? "Mains-" : "InternalBattery-", number++, "/");
    const auto fact = [&](const std::string& attribute, const std::string& content) {
      root.writeFile(folder + attribute, content + "\n");
    };
    if (isMains) {
      fact("type", "Mains");
      fact("online", fields[1] == "online" ? "1" : "0");
      continue;
    }
    std::string status = fields[1];
    status[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(status[0])));
    fact("type", "Battery");
    fact("present", "1");
    fact("status", status);
    if (fields.size() == 3) {
      const std::size_t slash = fields[2].find('/');
      fact("charge_now", fields[2].substr(0, slash));
      fact("charge_full", fields[2].substr(slash + 1));
    }
  }
}

/// An application that the stand-in program plays.
void writeApplication(LayeredRoot& root, const std::string& executable, const std::string& tool,
                      platform::PropertyList::Dictionary facts) {
  const fs::path path(executable);
  facts.emplace("CFBundleExecutable", path.filename().string());
  root.writeFile(path.parent_path().parent_path() / "Info.plist", platform::toXML(facts));
  root.bindFile(tool, executable);
}

void writeApplications(LayeredRoot& root, const Scenario& scenario, const std::string& tool) {
  for (const auto& [section, settings] : scenario.sectionsWith(kApplicationPrefix)) {
    platform::PropertyList::Dictionary facts{
        {"CFBundleIdentifier", section.substr(kApplicationPrefix.size())}};
    if (const auto name = scenario.value(section, "name")) {
      facts.emplace("CFBundleDisplayName", *name);
    }
    writeApplication(root, applicationExecutable(scenario, section), tool, std::move(facts));
  }
  writeApplication(root, kPromptExecutable, tool,
                   {{"CFBundleIdentifier", kPromptBundleIdentifier}});
}

void writeTools(LayeredRoot& root, const Scenario& scenario, const std::string& tool) {
  root.bindFile(tool, kToolProgram);
  for (const char* const path :
       {"/usr/sbin/softwareupdate", "/usr/libexec/mdmclient", "/usr/bin/profiles", "/usr/bin/open",
        "/usr/bin/sudo", "/usr/bin/launchctl",
        "/Applications/Install macOS Sonoma.app/Contents/Resources/startosinstall"}) {
    root.makeLink(path, kToolProgram);
  }
  root.writeFile(kScenarioFile, scenario.serialized());
  root.makeDirectory(kCountDirectory, 01777);
}

/// Last, so that the scenario's files replace others.
void writeFiles(LayeredRoot& root, const Scenario& scenario) {
  if (const Section* const files = scenario.section("files")) {
    for (const auto& [path, content] : files->settings) {
      root.writeFile(path, content.ends_with('\n') ? content : content + '\n',
                     content.starts_with("#!") ? 0755 : 0644);
    }
  }
}

}  // namespace

void writeMacFiles(LayeredRoot& root, const Scenario& scenario, const std::string& mac,
                   const std::string& tool) {
  root.copy(mac);
  writeSystem(root, scenario);
  writeUsers(root, scenario);
  writePower(root, scenario);
  writeTools(root, scenario, tool);
  writeApplications(root, scenario, tool);
  writeAgentFiles(root, scenario);
  writeFiles(root, scenario);
}

std::string applicationExecutable(const Scenario& scenario, const std::string& section) {
  const std::string identifier = section.substr(kApplicationPrefix.size());
  const std::string bundle =
      scenario.valueOr(section, "bundle", identifier.substr(identifier.rfind('.') + 1));
  return "/Applications/" + bundle + ".app/Contents/MacOS/" + bundle;
}

}  // namespace simulated_mac
