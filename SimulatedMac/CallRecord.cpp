#include "SimulatedMac/CallRecord.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "Platform/Text.h"
#include "SimulatedMac/Layout.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

std::string jsonText(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out.append({'\\', c});
    } else if (byte < 0x20) {
      out.append({'\\', 'u', '0', '0', kDigits[byte >> 4], kDigits[byte & 15]});
    } else {
      out += c;
    }
  }
  return out + '"';
}

template <typename Items, typename Write>
std::string list(const Items& items, const Write& write) {
  return "[" + platform::joined(items, ",", write) + "]";
}

std::string userName() {
  if (const char* const name = std::getenv(kUserVariable)) {
    return name;
  }
  const passwd* const account = getpwuid(geteuid());
  return account == nullptr ? std::to_string(geteuid()) : account->pw_name;
}

}  // namespace

std::vector<OpenDescriptor> openDescriptors() {
  std::vector<OpenDescriptor> found;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    const std::string target = fs::read_symlink(entry.path(), ignored);
    if (!target.ends_with("/fd") && !target.empty()) {
      found.push_back({std::atoi(entry.path().filename().c_str()), target});
    }
  }
  std::ranges::sort(found, {}, &OpenDescriptor::number);
  return found;
}

bool appendToRecord(const CallRecord& call) {
  std::vector<std::string_view> environment;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    environment.emplace_back(*variable);
  }
  const char* const session = std::getenv(kSessionVariable);
  std::error_code ignored;
  const std::string line =
      "{\"tool\":" + jsonText(call.tool) + ",\"arguments\":" + list(call.arguments, jsonText) +
      ",\"input\":" + (call.input ? jsonText(*call.input) : "null") +
      ",\"user\":" + jsonText(userName()) + ",\"uid\":" + std::to_string(geteuid()) +
      ",\"session\":" + (session == nullptr ? "null" : jsonText(session)) +
      ",\"directory\":" + jsonText(fs::current_path(ignored).string()) +
      ",\"environment\":" + list(environment, jsonText) + ",\"descriptors\":" +
      list(call.descriptors,
           [](const OpenDescriptor& descriptor) {
             return "{\"number\":" + std::to_string(descriptor.number) +
                    ",\"target\":" + jsonText(descriptor.target) + "}";
           }) +
      "}\n";
  const int record = open(kRecordFile, O_WRONLY | O_APPEND | O_CLOEXEC);
  const bool written =
      record >= 0 && write(record, line.data(), line.size()) == static_cast<ssize_t>(line.size());
  close(record);
  return written;
}

}  // namespace simulated_mac
