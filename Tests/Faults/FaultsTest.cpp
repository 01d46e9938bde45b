// Every operation survives failures of each of its calls, once and permanently.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/FileCodec/RawPlistManager.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/AgentServiceConnection.h"
#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "Tests/Faults/DirectoryEntries.h"
#include "Tests/Faults/FailingCalls.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace {

using namespace std::chrono_literals;

/// What a child process does while one call fails. Returns the problem, or an empty string. May
/// throw only `std::bad_alloc`, if `operator new` fails.
struct Operation {
  std::string name;
  std::function<void(const TemporaryDirectory&)> prepare;
  std::function<std::string(const TemporaryDirectory&)> run;
  std::function<std::string(const TemporaryDirectory&)> check;  ///< After the fault or the kill.
  friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }
};

std::vector<std::string> filesIn(const TemporaryDirectory& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
    if (!entry.is_directory()) {
      names.push_back(std::filesystem::relative(entry.path(), directory.path()));
    }
  }
  std::ranges::sort(names);
  return names;
}

/// Whether the operation must not notice the fault.
bool isHarmless(const Fault& fault) {
  return fault.error == EINTR || fault.kind == Fault::Kind::isShort;
}

std::string save(const TemporaryDirectory& directory) {
  FileCodec::RawPlistManager manager(directory.file("counts.plist"));
  manager.updateValue(std::string(5000, 'x'), "new");
  try {
    manager.save();
  } catch (const std::runtime_error& error) {
    return isHarmless(armedFault()) ? error.what() : "";
  }
  if (disarmFault() && std::string(armedFault().call) == "fsync" && !isHarmless(armedFault())) {
    return "saved, but perhaps not on the disk";
  }
  return manager.fetchValue("new") ? "" : "saved, but not there";
}

/// Other users can't read what they could not read before, not even for a moment.
std::string readableFileIn(const TemporaryDirectory& directory) {
  for (const std::string& name : filesIn(directory)) {
    const auto mode = std::filesystem::status(directory.file(name)).permissions();
    if ((mode & std::filesystem::perms::others_read) != std::filesystem::perms::none) {
      return "others can read " + name;
    }
  }
  return "";
}

void useAgentOf(const TemporaryDirectory& directory) {
  vxutils::gv_globvars.setDirectories(
      {.base = directory.path(), .data = directory.path(), .logs = directory.path()});
}

std::string runTool(const TemporaryDirectory& directory) {
  const std::string input(200'000, 'i');  // more than a pipe holds
  const platform::ProcessResult result =
      platform::runProcess({.executable = "/bin/sh",
                            .arguments = {"-c", "cat; echo err >&2"},
                            .directory = directory.path(),
                            .input = input,
                            // Byte by byte takes a busy machine more than a second.
                            .timeout = isHarmless(armedFault()) ? 15s : 1s,
                            .grace = 100ms,
                            .onLine = [](std::string_view) {}});
  // Pipes don't fail this way; other faults must not lose output.
  const bool impossible = armedFault().error == EIO || armedFault().error == ENOSPC;
  if (isHarmless(armedFault()) && result.exitCode != 0) {
    return "exit status " + std::to_string(result.exitCode);
  }
  return result.exitCode != 0 || impossible || result.output == input + "err\n"
             ? ""
             : "success, but output lost";
}

std::string askService(const TemporaryDirectory& /*directory*/) {
  std::atomic<int> answers = 0;
  std::atomic<int> values = 0;
  {
    std::optional<vxutils::AgentServiceServer> server;
    try {
      server.emplace(*vxutils::gv_globvars.vxagentBasePath() + "/run/agent-service.sock",
                     [](const std::string& key) { return std::optional("value of " + key); });
    } catch (const std::runtime_error&) {
      return "";
    }
    vxutils::AgentServiceConnection connection;
    const auto service = connection.getService();
    if (!service) {
      return "";
    }
    service->fetchStatusMessageForKey(
        "key",
        [&](const std::optional<std::string>& value) {
          values += value == "value of key" ? 1 : 0;
          ++answers;
        },
        [&](std::string_view) { ++answers; });
    for (const auto end = std::chrono::steady_clock::now() + 3s;
         answers == 0 && std::chrono::steady_clock::now() < end;) {
      std::this_thread::yield();
    }
  }
  if (isHarmless(armedFault()) && values != 1) {
    return "no value";
  }
  return answers == 1 ? "" : std::to_string(answers) + " answers to one request";
}

std::string runActions(const TemporaryDirectory& /*directory*/) {
  std::optional<vexlo::ProcessPatchActions> actions;
  try {
    actions.emplace(vexlo::PatchIdentifier("1", "2", "3"));
  } catch (const vexlo::PatchActionFileError&) {
    return "";
  }
  for (const vexlo::KnownAction action : vexlo::kAllActions) {
    (void)actions->execute(action);
  }
  return "";
}

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all{
      {.name = "save",
       .prepare =
           [](const TemporaryDirectory& directory) {
             directory.write("counts.plist", "{ old = 1; }");
             std::filesystem::permissions(directory.file("counts.plist"),
                                          std::filesystem::perms::owner_read);
           },
       .run = save,
       .check =
           [](const TemporaryDirectory& directory) {
             const FileCodec::RawPlistManager manager(directory.file("counts.plist"));
             return manager.fetchValue("old") ? readableFileIn(directory)
                                              : "the old values are lost";
           }},
      {.name = "save over damaged bytes",
       .prepare =
           [](const TemporaryDirectory& directory) {
             directory.write("counts.plist", "not { a list");
           },
       .run = save,
       .check =
           [](const TemporaryDirectory& directory) {
             const bool kept = directory.read("counts.plist") == "not { a list" ||
                               directory.read("counts.plist.damaged") == "not { a list";
             return kept ? "" : "the damaged bytes are lost";
           }},
      {.name = "tool", .prepare = [](const TemporaryDirectory&) {}, .run = runTool, .check = {}},
      {.name = "service",
       .prepare =
           [](const TemporaryDirectory& directory) {
             useAgentOf(directory);
             std::filesystem::create_directory(directory.file("run"));
           },
       .run = askService,
       .check = {}},
      {.name = "actions",
       .prepare =
           [](const TemporaryDirectory& directory) {
             useAgentOf(directory);
             vxutils::gv_globvars.setAppleSiliconMachine(true);
             FileCodec::JSONObject file;
             for (const vexlo::KnownActionRow& action : vexlo::knownActions()) {
               std::vector<std::string_view> examples;
               for (const vexlo::ActionArgument& argument : action.arguments) {
                 examples.push_back(argument.example);
               }
               file.addJSON(action.code, FileCodec::jsonList(examples));
             }
             directory.write("client-data/patch-resources/mac-patch-actions.json",
                             R"({"PatchActions":{"1":)" + file.done() + "}}");
           },
       .run = runActions,
       .check = {}},
  };
  return all;
}

/// Waits for threads and children to end; whatever remains is a leak.
std::string leftovers(std::ptrdiff_t descriptors) {
  std::string found;
  for (int attempt = 0; attempt < 300; ++attempt) {
    found.clear();
    if (entriesOf("/proc/self/task") != 1) {
      found = "a thread is left";
    } else if (siginfo_t child{};
               waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != -1) {  // reaps no zombie
      found = "a child process is left";
    } else if (const std::ptrdiff_t now = entriesOf("/proc/self/fd"); now != descriptors) {
      found = std::to_string(now - descriptors) + " descriptors are left";
    }
    if (found.empty()) {
      break;
    }
    usleep(10'000);
  }
  return found;
}

enum Ending : int { notReached = 10, survived = 11, wrong = 12 };

/// Runs in a child process. Never returns.
[[noreturn]] void attempt(const Operation& operation, const TemporaryDirectory& directory,
                          const Fault& fault, long number, bool forGood) {
  alarm(20);  // kills the process if it hangs
  struct Unseen final : LogCore::LogSink {
    void write(LogCore::LogLevel, const LogCore::LogTag&, std::uint32_t,
               const LogCore::MessageBuilder& build) override {
      (void)build();
    }
  };
  LogCore::setLogSink(std::make_shared<Unseen>());
  operation.prepare(directory);
  const std::vector<std::string> files = filesIn(directory);
  const std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  std::string problem;
  armFault(fault, number, forGood);
  try {
    problem = operation.run(directory);
  } catch (const std::bad_alloc&) {
    problem = std::string(fault.call) == "new" ? "" : "throws bad_alloc";
  } catch (const std::exception& error) {
    problem = std::string("throws ") + error.what();
  }
  const bool reached = disarmFault();
  if (problem.empty()) {
    problem = leftovers(descriptors);
  }
  if (problem.empty() && operation.check) {
    problem = operation.check(directory);
  }
  for (const std::string& name : filesIn(directory)) {
    if (problem.empty() && !std::ranges::binary_search(files, name) &&
        !name.ends_with(".damaged") &&
        // If locking fails, the lock file may belong to another process.
        !(name.ends_with(".lock") && std::string(fault.call) == "flock")) {
      problem = "left the file " + name;
    }
  }
  if (!problem.empty()) {
    fprintf(stderr, "%s\n", problem.c_str());
  }
  _exit(!problem.empty() ? wrong : reached ? survived : notReached);
}

int statusOf(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

/// Makes the n-th such call fail for n = 1, 2 … until it is no longer reached, skipping some
/// failures, but no kills, unless VEXLO_ALL_FAULTS is set. Returns the number of attempts.
long walk(const Operation& operation, const Fault& fault, bool forGood) {
  const bool all = fault.kind == Fault::Kind::kills || std::getenv("VEXLO_ALL_FAULTS") != nullptr;
  int failures = 0;
  for (long number = 1, count = 0;; number += all ? 1 : 1 + (number / 4), ++count) {
    const TemporaryDirectory directory;
    const pid_t child = fork();
    if (child == 0) {
      attempt(operation, directory, fault, number, forGood);
    }
    const int status = statusOf(child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == notReached) {
      return count;
    }
    const bool killed =
        fault.kind == Fault::Kind::kills && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (killed) {
      EXPECT_EQ(operation.check(directory), std::string()) << "killed at call " << number;
      EXPECT_EQ(operation.run(directory), "");
      for (const std::string& name : filesIn(directory)) {
        EXPECT_TRUE(name.starts_with("counts.plist") && !name.ends_with(".lock")) << name;
      }
    } else if (!WIFEXITED(status) || WEXITSTATUS(status) != survived) {
      ADD_FAILURE() << operation.name << ": " << fault.call << " number " << number
                    << (forGood ? " and later" : "") << ", error " << fault.error << ", kind "
                    << static_cast<int>(fault.kind) << ": status " << status
                    << (WIFSIGNALED(status) ? " (ended by a signal)" : "");
      if (++failures > 5) {
        return count;
      }
    }
  }
}

constexpr std::array kFaults{
    Fault{"open", EMFILE},
    Fault{"open", EINTR},
    Fault{"openat", ENOSPC},
    Fault{"read", EIO},
    Fault{"read", EINTR},
    Fault{"read", 0, Fault::Kind::isShort},
    Fault{"write", ENOSPC},
    Fault{"write", EIO},
    Fault{"write", EINTR},
    Fault{"write", 0, Fault::Kind::isShort},
    Fault{"fsync", EIO},
    Fault{"fsync", EINTR},
    Fault{"rename", EIO},
    Fault{"renameat", EIO},
    Fault{"linkat", EPERM},
    Fault{"linkat", EIO},
    Fault{"fchmod", EIO},
    Fault{"flock", ENOLCK},
    Fault{"flock", EINTR},
    Fault{"fcntl", EMFILE},
    Fault{"pipe2", EMFILE},
    Fault{"posix_spawn", EAGAIN},
    Fault{"posix_spawn", ENOMEM},
    Fault{"poll", EINTR},
    Fault{"poll", ENOMEM},
    Fault{"waitid", EINTR},
    Fault{"waitid", ECHILD},
    Fault{"syscall", ENOSYS},
    Fault{"socket", EMFILE},
    Fault{"connect", ECONNREFUSED},
    Fault{"connect", EINTR},
    Fault{"bind", EACCES},
    Fault{"listen", EIO},
    Fault{"accept4", EMFILE},
    Fault{"send", EPIPE},
    Fault{"send", EINTR},
    Fault{"send", 0, Fault::Kind::isShort},
    Fault{"recv", ECONNRESET},
    Fault{"recv", EINTR},
    Fault{"recv", 0, Fault::Kind::isShort},
    Fault{"pthread_create", EAGAIN},
    Fault{"new"},
};

class Faults : public testing::TestWithParam<Operation> {};

TEST_P(Faults, FailOnce) {
  long faults = 0;
  for (const Fault& fault : kFaults) {
    faults += walk(GetParam(), fault, false);
  }
  RecordProperty("faults", std::to_string(faults));
  EXPECT_GT(faults, 20);
}

TEST_P(Faults, FailPermanently) {
  for (const Fault& fault : kFaults) {
    if (fault.error != EINTR) {
      walk(GetParam(), fault, true);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, Faults, testing::ValuesIn(operations()), [](const auto& each) {
  std::string name = each.param.name;
  std::ranges::replace(name, ' ', '_');
  return name;
});

TEST(FaultsTest, SaveFlushesTheFileBeforeItsRenameAndTheFolderAfterIt) {
  constexpr long kNever = 1'000'000;
  const TemporaryDirectory directory;
  armFault({"*"}, kNever, false);
  EXPECT_EQ(save(directory), "");
  EXPECT_TRUE(callsMade().contains("write fchmod fsync renameat fsync ")) << callsMade();
}

/// A lock file that was replaced after it was opened excludes nobody.
TEST(FaultsTest, LocksTheFileThatHasTheName) {
  static const TemporaryDirectory directory;
  armFault({.call = "flock",
            .kind = Fault::Kind::isPreceded,
            .before = [] { std::filesystem::remove(directory.file("file.lock")); }},
           1, false);
  const auto lock = platform::FileLock::acquire(directory.file("file"));
  EXPECT_TRUE(disarmFault());
  EXPECT_TRUE(lock);
  EXPECT_FALSE(platform::FileLock::acquire(directory.file("file"), 0ms));
}

TEST(FaultsTest, ToolsHaveTwoHours) {
  const int hours = 2 * 3600 * 1000;
  EXPECT_EQ(vexlo::TerminalUtil().run("true", std::nullopt, std::nullopt).exitCode, 0);
  EXPECT_LE(longestPoll(), hours);
  EXPECT_GT(longestPoll(), hours - 60'000);
}

TEST(FaultsTest, KilledSaveLosesNothing) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_GT(walk(operations()[static_cast<std::size_t>(i)],
                   {.call = "*", .kind = Fault::Kind::kills}, false),
              10);
  }
}

}  // namespace
