#include "SimulatedMac/MacFiles.h"

#include <sys/types.h>
#include <utmpx.h>

#include <cctype>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/PropertyList.h"
#include "SimulatedMac/AgentFiles.h"
#include "SimulatedMac/DocumentText.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ScenarioRules.h"
#include "SimulatedMac/ScenarioValues.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

constexpr gid_t kStaff = 20;

struct Account {
  std::string name;
  uid_t number = 0;
};

std::vector<Account> accounts(const Scenario& scenario) {
  std::vector<Account> found;
  for (const std::string& value : scenario.values("users", "account")) {
    const std::vector<std::string> fields = words(value);
    found.push_back({fields[0], static_cast<uid_t>(std::stoul(fields[1]))});
  }
  return found;
}

class MacFilesWriter {
 public:
  MacFilesWriter(LayeredRoot& root, const Scenario& scenario) : root_(root), scenario_(scenario) {}

  void writeSystem() {
    const std::string version = scenario_.valueOr("mac", "version", "");
    if (version != "unreadable") {
      writeVersion(".SystemVersionPlatform.plist", version);
      writeVersion("SystemVersion.plist",
                   scenario_.valueOr("mac", "compatibility version", version));
    }
    const bool isIntel = scenario_.valueOr("mac", "machine", "") == "intel";
    root_.writeFile("/System/Library/CoreServices/Processor", isIntel ? "x86_64\n" : "arm64\n");
    // The host's directories for temporary files are read-only in the Mac.
    root_.makeDirectory("/private/tmp", 01777);
  }

  void writeUsers() {
    std::string passwords = "root:x:0:0:System Administrator:/var/root:/bin/sh\n";
    for (const Account& account : accounts(scenario_)) {
      passwords += account.name + ":x:" + std::to_string(account.number) + ":" +
                   std::to_string(kStaff) + ":" + account.name + ":/Users/" + account.name +
                   ":/bin/sh\n";
      const std::string home = "/Users/" + account.name;
      root_.makeDirectory(home, 0755);
      root_.changeOwner(home, account.number, kStaff);
    }
    root_.coverFile("/etc/passwd", passwords);
    root_.coverFile("/etc/nsswitch.conf", "passwd: files\ngroup: files\nshadow: files\n");

    const std::string console = scenario_.valueOr("users", "console", "none");
    root_.writeFile("/dev/console", "");
    for (const Account& account : accounts(scenario_)) {
      if (account.name == console) {
        root_.changeOwner("/dev/console", account.number, kStaff);
      }
    }
    writeSessions(console);
  }

  void writePower() {
    int number = 0;
    for (const std::string& source : scenario_.values("power", "source")) {
      if (source != "none") {
        writePowerSource(source, number++);
      }
    }
  }

  void writeApplications(const std::string& tool) {
    for (const std::string& section : applicationSections(scenario_)) {
      const std::string executable = applicationExecutable(scenario_, section);
      writeBundle(executable, section.substr(kApplicationPrefix.size()),
                  scenario_.value(section, "name"));
      root_.bindFile(tool, executable);
    }
    writeBundle(kPromptExecutable, kPromptBundleIdentifier, std::nullopt);
    root_.bindFile(tool, kPromptExecutable);
  }

  void writeTools(const std::string& tool) {
    root_.bindFile(tool, kToolProgram);
    for (const char* const path :
         {"/usr/sbin/softwareupdate", "/usr/libexec/mdmclient", "/usr/bin/profiles",
          "/usr/bin/open", "/usr/bin/sudo", "/usr/bin/launchctl"}) {
      root_.makeLinkBesideHostFiles(path, kToolProgram);
    }
    root_.makeLink("/Applications/Install macOS Sonoma.app/Contents/Resources/startosinstall",
                   kToolProgram);
    root_.writeFile(kScenarioFile, scenario_.serialized());
    root_.makeDirectory(kCountDirectory, 01777);
  }

  /// Last, so that the scenario's files replace others.
  void writeFiles() {
    const Section* const files = scenario_.section("files");
    for (const Setting& file : files != nullptr ? files->settings : std::vector<Setting>()) {
      const mode_t mode = file.value.starts_with("#!") ? 0755 : 0644;
      root_.writeFileBesideHostFiles(
          file.key, file.value.ends_with('\n') ? file.value : file.value + '\n', mode);
    }
  }

 private:
  void writeVersion(const std::string& file, const std::string& version) {
    root_.writeFile("/System/Library/CoreServices/" + file,
                    platform::toXML(platform::PropertyList::Dictionary{
                        {"ProductName", "macOS"}, {"ProductVersion", version}}));
  }

  void writeSessions(const std::string& console) {
    std::string records;
    const auto add = [&](const std::string& user, const std::string& line) {
      utmpx record{};
      record.ut_type = USER_PROCESS;
      record.ut_pid = 1;  // exists as long as the Mac
      line.copy(record.ut_line, sizeof record.ut_line - 1);
      user.copy(record.ut_user, sizeof record.ut_user - 1);
      record.ut_tv.tv_sec = static_cast<decltype(record.ut_tv.tv_sec)>(std::time(nullptr));
      records.append(reinterpret_cast<const char*>(&record), sizeof record);
    };
    int terminal = 1;
    for (const std::string& user : words(scenario_.valueOr("users", "logged on", console))) {
      if (user != "none") {
        add(user, user == console ? "console" : "ttys00" + std::to_string(terminal++));
      }
    }
    root_.writeFileBesideHostFiles("/var/run/utmp", records);
  }

  /// "mains online", "mains offline", "battery discharging 45/90".
  void writePowerSource(const std::string& source, int number) {
    const std::vector<std::string> fields = words(source);
    const bool isMains = fields[0] == "mains";
    const std::string name = (isMains ? "Mains-" : "InternalBattery-") + std::to_string(number);
    const auto fact = [&](const std::string& attribute, const std::string& content) {
      root_.writeFile("/sys/class/power_supply/" + name + "/" + attribute, content + "\n");
    };
    if (isMains) {
      fact("type", "Mains");
      fact("online", fields[1] == "online" ? "1" : "0");
      return;
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

  void writeBundle(const std::string& executable, const std::string& identifier,
                   const std::optional<std::string>& name) {
    const fs::path contents = fs::path(executable).parent_path().parent_path();
    std::vector<Setting> facts{{"CFBundleIdentifier", identifier},
                               {"CFBundleExecutable", fs::path(executable).filename()}};
    if (name) {
      facts.push_back({"CFBundleDisplayName", "\"" + *name + "\""});
    }
    root_.writeFile((contents / "Info.plist").string(), platform::toXML(plistDictionary(facts)));
  }

  LayeredRoot& root_;
  const Scenario& scenario_;
};

}  // namespace

void writeMacFiles(LayeredRoot& root, const Scenario& scenario, const std::string& mac,
                   const std::string& tool) {
  root.copy(mac);
  MacFilesWriter writer(root, scenario);
  writer.writeSystem();
  writer.writeUsers();
  writer.writePower();
  writer.writeTools(tool);
  writer.writeApplications(tool);
  writeAgentFiles(root, scenario);
  writer.writeFiles();
}

std::string applicationExecutable(const Scenario& scenario, const std::string& section) {
  const std::string identifier = section.substr(kApplicationPrefix.size());
  const std::string bundle =
      scenario.valueOr(section, "bundle", identifier.substr(identifier.rfind('.') + 1));
  return "/Applications/" + bundle + ".app/Contents/MacOS/" + bundle;
}

std::vector<std::string> applicationSections(const Scenario& scenario) {
  std::vector<std::string> found;
  for (const Section& section : scenario.sections()) {
    if (section.name.starts_with(kApplicationPrefix)) {
      found.push_back(section.name);
    }
  }
  return found;
}

}  // namespace simulated_mac
