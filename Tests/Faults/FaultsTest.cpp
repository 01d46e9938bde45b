// Every operation survives failures of each of its calls, once and permanently.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <new>
#include <optional>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/FileCodec/RawPlistManager.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/AgentServiceConnection.h"
#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Tests/Fakes/DirectoryEntries.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "Tests/Faults/FailingCalls.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace {

using namespace std::chrono_literals;

using Directory = const TemporaryDirectory&;

/// What a child process does while one call fails. Returns the problem, or an empty string. May
/// throw only `std::bad_alloc`, if `operator new` fails.
struct Operation {
  std::string name;
  std::string (*run)(Directory);
  void (*prepare)(Directory) = [](Directory) {};
  std::string (*check)(Directory) = [](Directory) { return std::string(); };  ///< After the fault.
  friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }
};

std::set<std::string> filesIn(Directory directory) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
    if (!entry.is_directory()) {
      names.insert(std::filesystem::relative(entry.path(), directory.path()));
    }
  }
  return names;
}

/// Whether the operation must not notice the fault.
bool isHarmless(const Fault& fault) { return fault.error == EINTR || fault.error == kMovesOneByte; }

std::string save(Directory directory) {
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
std::string readableFileIn(Directory directory) {
  for (const std::string& name : filesIn(directory)) {
    const auto mode = std::filesystem::status(directory.file(name)).permissions();
    if ((mode & std::filesystem::perms::others_read) != std::filesystem::perms::none) {
      return "others can read " + name;
    }
  }
  return "";
}

void useAgentOf(Directory directory) {
  vxutils::gv_globvars.setDirectories(
      {.base = directory.path(), .data = directory.path(), .logs = directory.path()});
}

std::string runTool(Directory directory) {
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

std::string askService(Directory /*directory*/) {
  std::atomic<int> values = 0;
  std::atomic<int> failures = 0;
  {
    std::optional<vxutils::AgentServiceServer> server;
    try {
      server.emplace(*vxutils::gv_globvars.vxagentBasePath() + "/run/agent-service.sock",
                     [](const std::string& key) { return std::optional("value of " + key); });
    } catch (const std::runtime_error& error) {
      return isHarmless(armedFault()) ? error.what() : "";
    }
    vxutils::AgentServiceConnection connection;
    const auto service = connection.getService();
    if (!service) {
      return isHarmless(armedFault()) ? "no service" : "";
    }
    service->fetchStatusMessageForKey(
        "key", [&](const auto& value) { ++(value == "value of key" ? values : failures); },
        [&](std::string_view) { ++failures; });
    for (const auto end = std::chrono::steady_clock::now() + 3s;
         values + failures == 0 && std::chrono::steady_clock::now() < end;) {
      std::this_thread::yield();
    }
  }
  if (isHarmless(armedFault()) && values != 1) {
    return "no value";
  }
  const int answers = values + failures;
  return answers == 1 ? "" : std::to_string(answers) + " answers to one request";
}

std::string runActions(Directory /*directory*/) {
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

const std::vector<Operation> kOperations{
    {"save", save,
     [](Directory directory) {
       std::filesystem::permissions(directory.write("counts.plist", "{ old = 1; }"),
                                    std::filesystem::perms::owner_read);
     },
     [](Directory directory) {
       const FileCodec::RawPlistManager manager(directory.file("counts.plist"));
       return manager.fetchValue("old") ? readableFileIn(directory) : "the old values are lost";
     }},
    {"save_over_damaged_bytes", save,
     [](Directory directory) { directory.write("counts.plist", "not { a list"); },
     [](Directory directory) -> std::string {
       const bool kept = directory.read("counts.plist") == "not { a list" ||
                         directory.read("counts.plist.damaged") == "not { a list";
       return kept ? "" : "the damaged bytes are lost";
     }},
    {"tool", runTool},
    {"service", askService,
     [](Directory directory) {
       useAgentOf(directory);
       std::filesystem::create_directory(directory.file("run"));
     }},
    {"actions", runActions, [](Directory directory) {
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
     }}};

/// Waits for threads and children to end; whatever remains is a leak.
std::string leftovers(std::ptrdiff_t descriptors) {
  std::string found;
  for (int attempt = 0; attempt < 300; ++attempt) {
    siginfo_t child{};
    const bool hasChild = waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != -1;
    found = entriesOf("/proc/self/task") != 1           ? "a thread is left"
            : hasChild                                  ? "a child process is left"
            : entriesOf("/proc/self/fd") != descriptors ? "the number of descriptors differs"
                                                        : "";
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
  const std::set<std::string> files = filesIn(directory);
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
  if (problem.empty()) {
    problem = operation.check(directory);
  }
  for (const std::string& name : filesIn(directory)) {
    if (problem.empty() && !files.contains(name) && !name.ends_with(".damaged") &&
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

/// Makes the n-th such call fail for n = 1, 2 … until it is no longer reached, skipping some
/// failures, but no kills, unless VEXLO_ALL_FAULTS is set. Returns the number of attempts.
long walk(const Operation& operation, const Fault& fault, bool forGood) {
  const bool all = fault.before != nullptr || std::getenv("VEXLO_ALL_FAULTS") != nullptr;
  int failures = 0;
  for (long number = 1, count = 0;; number += all ? 1 : 1 + (number / 4), ++count) {
    const TemporaryDirectory directory;
    const pid_t child = fork();
    if (child == 0) {
      attempt(operation, directory, fault, number, forGood);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == notReached) {
      return count;
    }
    const bool killed =
        fault.before != nullptr && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (killed) {
      EXPECT_EQ(operation.check(directory), std::string()) << "killed at call " << number;
      EXPECT_EQ(operation.run(directory), "");
      for (const std::string& name : filesIn(directory)) {
        EXPECT_TRUE(name.starts_with("counts.plist") && !name.ends_with(".lock")) << name;
      }
    } else if (!WIFEXITED(status) || WEXITSTATUS(status) != survived) {
      ADD_FAILURE() << operation.name << ": " << fault.call << " number " << number
                    << (forGood ? " and later" : "") << ", error " << fault.error << ": status "
                    << status << (WIFSIGNALED(status) ? " (ended by a signal)" : "");
      if (++failures > 5) {
        return count;
      }
    }
  }
}

const std::map<int, std::vector<const char*>> kCallsByError{
    {EINTR,
     {"open", "read", "write", "fsync", "flock", "poll", "waitid", "connect", "send", "recv"}},
    {kMovesOneByte, {"read", "write", "send", "recv"}},
    {EMFILE, {"open", "fcntl", "pipe2", "socket", "accept4"}},
    {ENOSPC, {"openat", "write"}},
    {EIO, {"read", "write", "fsync", "rename", "renameat", "linkat", "fchmod", "listen"}},
    {EPERM, {"linkat"}},
    {ENOLCK, {"flock"}},
    {EAGAIN, {"posix_spawn", "pthread_create"}},
    {ENOMEM, {"posix_spawn", "poll", "new"}},
    {ECHILD, {"waitid"}},
    {ENOSYS, {"syscall"}},
    {ECONNREFUSED, {"connect"}},
    {EACCES, {"bind"}},
    {EPIPE, {"send"}},
    {ECONNRESET, {"recv"}},
};

class Faults : public testing::TestWithParam<Operation> {};

TEST_P(Faults, FailOnce) {
  long faults = 0;
  for (const auto& [error, calls] : kCallsByError) {
    for (const char* const call : calls) {
      faults += walk(GetParam(), {call, error}, false);
    }
  }
  RecordProperty("faults", std::to_string(faults));
  EXPECT_GT(faults, 20);
}

TEST_P(Faults, FailPermanently) {
  for (const auto& [error, calls] : kCallsByError) {
    for (const char* const call : error == EINTR ? std::vector<const char*>() : calls) {
      walk(GetParam(), {call, error}, true);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, Faults, testing::ValuesIn(kOperations),
                         [](const auto& each) { return each.param.name; });

TEST(FaultsTest, SaveFlushesTheFileBeforeItsRenameAndTheFolderAfterIt) {
  const TemporaryDirectory directory;
  static std::string calls;
  armFault({.call = "*", .before = [](const char* call) { calls.append(call).append(" "); }}, 1,
           true);
  EXPECT_EQ(save(directory), "");
  EXPECT_TRUE(calls.contains("write fchmod fsync renameat fsync ")) << calls;
}

/// A lock file that was replaced after it was opened excludes nobody.
TEST(FaultsTest, LocksTheFileThatHasTheName) {
  static const TemporaryDirectory directory;
  armFault({.call = "flock",
            .before = [](const char*) { std::filesystem::remove(directory.file("file.lock")); }},
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
  const Fault killing{.call = "*", .before = [](const char*) { ::kill(::getpid(), SIGKILL); }};
  EXPECT_GT(walk(kOperations[0], killing, false), 10);
  EXPECT_GT(walk(kOperations[1], killing, false), 10);
}

}  // namespace
