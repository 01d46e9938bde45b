#include "SimulatedMac/MacFiles.h"

#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "SimulatedMac/Layout.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view kApplicationPrefix = "application ";
constexpr std::string_view kPromptDataPrefix = "prompt data ";
constexpr const char* kLinkedFile = "/private/tmp/linked.plist";

bool isInteger(std::string_view text) {
  long long number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && !text.empty();
}

std::string escapedForXML(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

/// A value as scenarios write it: a number, true or false, else a text, with or without quotes.
std::string plistValue(std::string_view value) {
  if (isInteger(value)) {
    return "<integer>" + std::string(value) + "</integer>";
  }
  if (value == "true" || value == "false") {
    return "<" + std::string(value) + "/>";
  }
  if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
    value = value.substr(1, value.size() - 2);
  }
  return "<string>" + escapedForXML(value) + "</string>";
}

std::string plistDictionary(const std::vector<Setting>& settings) {
  std::string out = "<dict>\n";
  for (const Setting& setting : settings) {
    out += "<key>" + escapedForXML(setting.key) + "</key>" + plistValue(setting.value) + "\n";
  }
  return out + "</dict>\n";
}

std::string plistDocument(std::string_view content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
         std::string(content) + "</plist>\n";
}

/// The content of a settings file: the text under "content", else the settings as a dictionary.
std::string plistFile(const Section& section) {
  for (const Setting& setting : section.settings) {
    if (setting.key == "content") {
      return setting.value;
    }
  }
  return plistDocument(plistDictionary(section.settings));
}

std::string quotedForJSON(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
    }
    out += c;
  }
  return out + '"';
}

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

class Writer {
 public:
  Writer(LayeredRoot& root, const Scenario& scenario) : root_(root), scenario_(scenario) {}

  void writeSystem() {
    const std::string version = scenario_.valueOr("mac", "version", "");
    if (version != "unreadable") {
      write("/System/Library/CoreServices/SystemVersion.plist",
            plistDocument("<dict>\n<key>ProductName</key><string>macOS</string>\n"
                          "<key>ProductVersion</key><string>" +
                          escapedForXML(version) + "</string>\n</dict>\n"));
    }
    // A directory of its own for temporary files: the host's are read-only here.
    makeDirectory("/private/tmp", 01777);
  }

  void writeUsers() {
    std::string passwords = "root:x:0:0:System Administrator:/var/root:/bin/sh\n";
    for (const Account& account : accounts(scenario_)) {
      passwords += account.name + ":x:" + std::to_string(account.number) + ":20:" + account.name +
                   ":/Users/" + account.name + ":/bin/sh\n";
      const std::string home = "/Users/" + account.name;
      makeDirectory(home, 0755);
      giveTo(account, home);
    }
    root_.coverFile("/etc/passwd", passwords);
    root_.coverFile("/etc/nsswitch.conf", "passwd: files\ngroup: files\nshadow: files\n");

    const std::string console = scenario_.valueOr("users", "console", "none");
    write("/dev/console", "");
    for (const Account& account : accounts(scenario_)) {
      if (account.name == console) {
        giveTo(account, "/dev/console");
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
      root_.bind(tool, executable, false);
    }
    writeBundle(kPromptExecutable, kPromptBundleIdentifier, std::nullopt);
    root_.bind(tool, kPromptExecutable, false);
  }

  void writeTools(const std::string& tool) {
    root_.bind(tool, kToolProgram, false);
    for (const char* const path :
         {"/usr/sbin/softwareupdate", "/usr/libexec/mdmclient", "/usr/bin/profiles",
          "/usr/bin/open", "/usr/bin/sudo", "/usr/bin/launchctl"}) {
      fs::create_symlink(kToolProgram, root_.placeBesideHostFiles(path));
    }
    fs::create_symlink(
        kToolProgram,
        root_.place("/Applications/Install macOS Sonoma.app/Contents/Resources/startosinstall"));
    write(kScenarioFile, scenario_.text());
    makeDirectory(kCountDirectory, 01777);
  }

  void writeAgent() {
    const std::string agent = kAgentRoot;
    for (const char* const name : {"/data", "/logs", "/run", "/bin"}) {
      makeDirectory(agent + name, 0755);
    }
    makeDirectory(agent + "/logs/UserLogs", 01777);  // the user's prompt writes here
    writeActionFile(agent + "/client-data/patch-resources/mac-patch-actions.json");
    if (const Section* const data = scenario_.section("patch data")) {
      write(kPatchDataFile, plistFile(*data));
    }
    if (const Section* const customization = scenario_.section("customization")) {
      write(agent + "/data/ApplicationRunningPromptCustomization.plist", plistFile(*customization));
    }
    writePromptData(agent + "/data/ApplicationRunningPromptData.plist");
    if (scenario_.value("agent", "data directory") == "read-only") {
      root_.makeReadOnly(agent + "/data");
    }
  }

 private:
  void write(const std::string& macPath, std::string_view content) {
    writeNewFile(root_.place(macPath), content);
  }

  void makeDirectory(const std::string& macPath, mode_t mode) {
    const std::string path = root_.place(macPath);
    fs::create_directories(path);
    chmod(path.c_str(), mode);
  }

  /// Without effect where a user namespace has no other user than its own.
  void giveTo(const Account& account, const std::string& macPath) {
    [[maybe_unused]] const int ignored = chown(root_.place(macPath).c_str(), account.number, 20);
  }

  void writeSessions(const std::string& console) {
    std::string records;
    const auto add = [&](const std::string& user, const std::string& line) {
      utmpx record{};
      record.ut_type = USER_PROCESS;
      record.ut_pid = 1;  // lives as long as the Mac
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
    writeNewFile(root_.placeBesideHostFiles("/var/run/utmp"), records);
  }

  /// "mains online", "mains offline", "battery discharging 45/90".
  void writePowerSource(const std::string& source, int number) {
    const std::vector<std::string> fields = words(source);
    const bool isMains = fields[0] == "mains";
    const std::string name = (isMains ? "Mains-" : "InternalBattery-") + std::to_string(number);
    const auto fact = [&](const std::string& attribute, const std::string& content) {
      write("/sys/class/power_supply/" + name + "/" + attribute, content + "\n");
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
    write((contents / "Info.plist").string(), plistDocument(plistDictionary(facts)));
  }

  /// With [actions], a file that gives patch 310990 exactly these; else the one that lies there.
  void writeActionFile(const std::string& path) {
    const std::string given = scenario_.valueOr("agent", "action file", "usual");
    if (given == "missing") {
      fs::remove(root_.place(path));
    } else if (given != "usual") {
      write(path, given);
    } else if (const Section* const actions = scenario_.section("actions")) {
      std::string members;
      for (const Setting& action : actions->settings) {
        std::string arguments;
        for (const std::string& argument : words(action.value)) {
          arguments += (arguments.empty() ? "" : ", ") + quotedForJSON(argument);
        }
        members +=
            (members.empty() ? "" : ", ") + quotedForJSON(action.key) + ": [" + arguments + "]";
      }
      write(path, R"({"PatchActions": {"310990": {)" + members + "}}}\n");
    }
  }

  void writePromptData(const std::string& path) {
    if (const auto given = scenario_.value("agent", "prompt data")) {
      const bool isLink = *given == "a link";
      write(isLink ? kLinkedFile : path, isLink ? "not the agent's\n" : *given);
      if (isLink) {
        fs::create_symlink(kLinkedFile, root_.place(path));
      }
      return;
    }
    std::string records;
    for (const Section& section : scenario_.sections()) {
      if (!section.name.starts_with(kPromptDataPrefix)) {
        continue;
      }
      std::vector<Setting> record = section.settings;
      for (Setting& entry : record) {
        if (entry.key == "today") {
          entry.key = today();
        }
      }
      records += "<key>" + escapedForXML(section.name.substr(kPromptDataPrefix.size())) + "</key>" +
                 plistDictionary(record);
    }
    if (!records.empty()) {
      write(path, plistDocument("<dict>\n" + records + "</dict>\n"));
    }
  }

  /// The present day of the Mac's time zone, "dd-MM-yyyy".
  [[nodiscard]] std::string today() const {
    setenv("TZ", scenario_.valueOr("mac", "time zone", "UTC").c_str(), 1);
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%d-%m-%Y", &local)};
  }

  LayeredRoot& root_;
  const Scenario& scenario_;
};

}  // namespace

void writeMacFiles(LayeredRoot& root, const Scenario& scenario, const std::string& mac,
                   const std::string& tool) {
  fs::copy(mac, root.path(), fs::copy_options::recursive);
  Writer writer(root, scenario);
  writer.writeSystem();
  writer.writeUsers();
  writer.writePower();
  writer.writeTools(tool);
  writer.writeApplications(tool);
  writer.writeAgent();
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
