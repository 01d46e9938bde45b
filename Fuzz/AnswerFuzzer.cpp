// Arbitrary bytes in the answer file: 94 means yes, any other number no, anything else the
// fallback.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/vxutils/TrueParentTracking.h"
#include "Fuzz/FuzzedAgent.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

namespace {

using namespace vexlo;

struct Launcher final : CommandExecutor {
  std::string answer;
  CommandResult run(const std::string& /*command*/, const std::optional<std::string>& /*path*/,
                    const std::optional<std::string>& /*input*/) override {
    FuzzedAgent::write(RunningAppPromptPresenterConstants::returnCodeFilePath(), answer);
    return {};
  }
};
struct Session final : UserSessionProvider {
  std::string currentConsoleUserName() override { return "NOUSERNAME"; }
  std::optional<std::string> loggedOnUsers() override { return std::nullopt; }
};
struct Cleaner final : RunningAppPromptCleaning {
  void clean() override {}
};
struct Query final : RunningApplicationQuerying {
  std::vector<RunningApplication> runningApplications(
      const std::string& /*bundleIdentifier*/) override {
    return {};
  }
};

/// An independent implementation.
std::optional<std::int64_t> numberIn(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const std::int64_t number = std::strtoll(text.c_str(), &end, 10);
  const std::string_view rest(end, text.c_str() + text.size());
  return end != text.c_str() && errno == 0 &&
                 rest.find_first_not_of(" \t\n\v\f\r") == std::string_view::npos
             ? std::optional(number)
             : std::nullopt;
}

}  // namespace

/// The input: in the first byte the fallback and how far to fill the file with blanks, then the
/// file's bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzedAgent agent;
  if (size == 0) {
    return 0;
  }
  Launcher launcher;
  launcher.answer.assign(reinterpret_cast<const char*>(data + 1), size - 1);
  const bool fallback = data[0] % 2 == 1;
  if (data[0] >= 0xF0) {
    launcher.answer.resize(4096 - 4 + data[0] / 2 % 8, ' ');
  }
  Session session;
  Cleaner cleaner;
  AgentFiles files;
  Query query;
  vxutils::ProcessInformation processInformation;
  RunningAppPromptPresenter presenter(launcher, session, cleaner, files, query, processInformation,
                                      {.macOSMajorVersion = [] { return std::int64_t{14}; },
                                       .runLoop = [](std::chrono::milliseconds) { return true; }});
  const bool agreed = presenter.requestUserAcknowledgement(
      {"App"},
      {.decision = fallback ? RunningAppPromptDecision::forceDeployment
                            : RunningAppPromptDecision::promptUser},
      30);
  const std::optional<std::int64_t> number =
      launcher.answer.size() <= 4096 ? numberIn(launcher.answer) : std::nullopt;
  require(agreed == (number ? *number == 94 : fallback), "a different answer");
  return 0;
}
