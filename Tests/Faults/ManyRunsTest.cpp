// Many runs, sequential and concurrent, leak nothing.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Process.h"
#include "Tests/Fakes/DirectoryEntries.h"

namespace {

long residentKiB() {
  std::ifstream status("/proc/self/statm");
  long total = 0;
  long resident = 0;
  status >> total >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

/// The number of runs, which VEXLO_RUNS overrides.
int runs() {
  const char* const wanted = std::getenv("VEXLO_RUNS");
  return wanted != nullptr ? std::stoi(wanted) : 200;
}

TEST(ManyRuns, LeakNothing) {
  constexpr int kThreads = 16;
  const std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  std::atomic<int> failed = 0;
  const auto run = [&](int count) {
    for (int i = 0; i < count; ++i) {
      const platform::ProcessResult result =
          platform::runProcess({.executable = "/bin/cat", .input = "text"});
      failed += result.exitCode != 0 || result.output != "text" ? 1 : 0;
    }
  };
  run(runs() / 10);
  const long early = residentKiB();
  run(runs() - (runs() / 10));
  const long late = residentKiB();
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back(run, runs() / kThreads);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child process is left";
  EXPECT_LT(late - early, 256) << "KiB more than after a tenth of the runs";
  std::cout << "resident: " << early << " KiB after " << runs() / 10 << " runs, " << late
            << " KiB after " << runs() << ", " << residentKiB() << " KiB after the threads\n";
}

}  // namespace
