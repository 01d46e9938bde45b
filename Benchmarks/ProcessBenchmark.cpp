// Starting programs and reading their output line by line, each compared with a baseline of bare
// system calls.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Benchmarks/FreshProcess.h"
#include "Benchmarks/Spawn.h"
#include "Platform/Process.h"

namespace {

constexpr std::size_t kGigabyte = 1'000'000'000;
constexpr std::size_t kBigProcess = std::size_t{2} << 30;

struct BareChild {
  pid_t pid;
  int output;
};

BareChild spawnWithPipe(std::vector<const char*> command) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  const BareChild child{.pid = spawn(std::move(command), ends[1]), .output = ends[0]};
  ::close(ends[1]);
  return child;
}

/// Reads to the end of file, waits for the child and returns the number of bytes read.
std::size_t finish(const BareChild& child) {
  constexpr std::size_t kBufferBytes = std::size_t{64} * 1024;
  const auto buffer = std::make_unique_for_overwrite<std::array<char, kBufferBytes>>();
  std::size_t total = 0;
  for (ssize_t count = 0; (count = ::read(child.output, buffer->data(), kBufferBytes)) > 0;) {
    total += static_cast<std::size_t>(count);
  }
  ::close(child.output);
  ::waitpid(child.pid, nullptr, 0);
  return total;
}

void bareSpawn(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(finish(spawnWithPipe({"/bin/sh", "-c", "true"})));
  }
}

void runProcess(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        platform::runProcess({.executable = "/bin/sh", .arguments = {"-c", "true"}}));
  }
}

/// The same in a process with 2 GB of touched memory, whose page tables a fork() would copy.
void runProcessWhenBig(benchmark::State& state) {
  const std::vector<char> memory(kBigProcess, 1);
  runProcess(state);
  benchmark::DoNotOptimize(memory[kBigProcess / 2]);
}

/// The cost of fork(), for comparison.
void forkWhenBig(benchmark::State& state) {
  const std::vector<char> memory(kBigProcess, 1);
  for (auto _ : state) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::execl("/bin/sh", "/bin/sh", "-c", "true", nullptr);
      ::_exit(EXIT_FAILURE);
    }
    ::waitpid(child, nullptr, 0);
  }
  benchmark::DoNotOptimize(memory[kBigProcess / 2]);
}

constexpr const char* kThisProgram = "/proc/self/exe";
constexpr const char* kPrintLines = "--print-lines";
constexpr std::size_t kLineBytes = 80;  // similar to the output of tools

/// The child of the reading benchmarks: a gigabyte of lines, as fast as the pipe takes them.
int printLines() {
  std::string lines;
  for (std::size_t line = 0; line < 800; ++line) {
    lines += std::string(kLineBytes - 1, 'x') + '\n';
  }
  for (std::size_t left = kGigabyte; left > 0;) {
    const ssize_t count = ::write(STDOUT_FILENO, lines.data(), std::min(lines.size(), left));
    if (count != static_cast<ssize_t>(std::min(lines.size(), left))) {
      return EXIT_FAILURE;
    }
    left -= static_cast<std::size_t>(count);
  }
  return EXIT_SUCCESS;
}

void bareReadLoop(benchmark::State& state) {
  for (auto _ : state) {
    if (finish(spawnWithPipe({kThisProgram, kPrintLines})) != kGigabyte) {
      state.SkipWithError("bytes are missing");
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(kGigabyte) * state.iterations());
}

/// From now on `FreshProcess::peakBytes()` starts again.
void forgetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

/// The same with line callbacks; the argument is the limit of the stored output.
void readLineByLine(benchmark::State& state) {
  platform::ProcessRequest request{.executable = kThisProgram,
                                   .arguments = {kPrintLines},
                                   .maximumOutputBytes = static_cast<std::size_t>(state.range(0))};
  std::size_t lines = 0;
  request.onLine = [&](std::string_view line) {
    benchmark::DoNotOptimize(line.data());
    ++lines;
  };
  forgetPeak();
  const double before = FreshProcess::peakBytes();
  for (auto _ : state) {
    lines = 0;
    benchmark::DoNotOptimize(platform::runProcess(request));
    if (lines != kGigabyte / kLineBytes) {
      state.SkipWithError("lines are missing");
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(kGigabyte) * state.iterations());
  state.counters["peakMB"] = (FreshProcess::peakBytes() - before) / 1e6;
}

BENCHMARK(bareSpawn)->UseRealTime();
BENCHMARK(runProcess)->UseRealTime();
BENCHMARK(runProcessWhenBig)->UseRealTime();
BENCHMARK(forkWhenBig)->UseRealTime()->Iterations(20);
BENCHMARK(bareReadLoop)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(readLineByLine)
    ->ArgName("kept")
    ->Arg(1 << 20)
    ->Arg(64 << 20)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == kPrintLines) {
    return printLines();
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return EXIT_FAILURE;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return EXIT_SUCCESS;
}
