#include "SimulatedMac/CallRecord.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "SimulatedMac/Layout.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

using FileCodec::JSONObject;

std::string userName() {
  if (const char* const name = std::getenv(kUserVariable)) {
    return name;
  }
  const passwd* const account = getpwuid(geteuid());
  return account == nullptr ? std::to_string(geteuid()) : account->pw_name;
}

}  // namespace

std::vector<InheritedDescriptor> inheritedDescriptors() {
  std::vector<InheritedDescriptor> found;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
    const int number = std::atoi(entry.path().filename().c_str());
    if (const int flags = fcntl(number, F_GETFD); flags >= 0 && (flags & FD_CLOEXEC) == 0) {
      std::error_code ignored;
      found.push_back({number, fs::read_symlink(entry.path(), ignored)});
    }
  }
  std::ranges::sort(found, {}, &InheritedDescriptor::number);
  return found;
}

bool appendToRecord(const ToolCall& call) {
  std::vector<std::string_view> environment;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    environment.emplace_back(*variable);
  }
  std::vector<std::string> descriptors;
  descriptors.reserve(call.descriptors.size());
  for (const InheritedDescriptor& descriptor : call.descriptors) {
    descriptors.push_back(JSONObject()
                              .addNumber("number", descriptor.number)
                              .addString("target", descriptor.target)
                              .done());
  }
  const char* const session = std::getenv(kSessionVariable);
  std::error_code ignored;
  const std::string line =
      JSONObject()
          .addString("tool", call.tool)
          .addJSON("arguments", FileCodec::jsonList(call.arguments))
          .addJSON("input", FileCodec::jsonOptional(call.input))
          .addString("user", userName())
          .addNumber("uid", geteuid())
          .addJSON("session", session == nullptr ? "null" : FileCodec::jsonString(session))
          .addString("directory", fs::current_path(ignored).string())
          .addJSON("environment", FileCodec::jsonList(environment))
          .addJSON("descriptors", FileCodec::jsonArray(descriptors))
          .done() +
      '\n';
  const int record = open(kRecordFile, O_WRONLY | O_APPEND | O_CLOEXEC);
  const bool written =
      record >= 0 && write(record, line.data(), line.size()) == static_cast<ssize_t>(line.size());
  close(record);
  return written;
}

}  // namespace simulated_mac
