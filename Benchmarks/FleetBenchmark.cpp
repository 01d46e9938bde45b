// Predicting a patch's results on a fleet: machines per second, peak memory, and two workers. The
// baseline reads the same lines with the JSON parser alone.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/IgnoredParserEvents.h"
#include "AgentLibraries/FileCodec/JSONManager.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentTool/Console/LineReader.h"
#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Fleet/WhatIf.h"
#include "Benchmarks/Spawn.h"
#include "Platform/Descriptor.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace {

constexpr std::int64_t kMachinesInFile = 10'000;
constexpr const char* kActions = VEXLO_FLEET_ACTIONS;
const vexlo::PatchIdentifier kPatch("310990", "1201", "2301");  // six actions

const std::string& fleetFile() {
  static const TemporaryDirectory directory;
  static const std::string file = [] {
    std::string path = directory.file("fleet");
    const std::string command =
        std::string(VEXLO_MAKE_FLEET) + " " + std::to_string(kMachinesInFile) + " >'" + path + "'";
    if (std::system(command.c_str()) != 0) {  // NOLINT(concurrency-mt-unsafe): one thread
      throw std::runtime_error("the fleet's file can't be written");
    }
    return path;
  }();
  return file;
}

/// Calls `use(line)` for each line of the fleet's file.
template <typename Use>
void forEachLine(const Use& use) {
  agent_tool::LineReader reader(fleetFile(), agent_tool::kLongestFactsLine);
  while (const auto line = reader.next()) {
    use(line->text);
  }
}

void countMachines(benchmark::State& state, std::int64_t perRound) {
  state.SetItemsProcessed(state.iterations() * perRound);
}

void linesWithEmptyHandler(benchmark::State& state) {
  boost::json::basic_parser<FileCodec::IgnoredParserEvents> parser(boost::json::parse_options{});
  for (auto _ : state) {
    forEachLine([&](std::string_view line) {
      boost::system::error_code error;
      parser.reset();
      benchmark::DoNotOptimize(parser.write_some(false, line.data(), line.size(), error));
    });
  }
  countMachines(state, kMachinesInFile);
}

void linesAsRecords(benchmark::State& state) {
  agent_tool::FactsReader reader;
  for (auto _ : state) {
    forEachLine([&](std::string_view line) { benchmark::DoNotOptimize(reader.read(line)); });
  }
  countMachines(state, kMachinesInFile);
}

void linesAnswered(benchmark::State& state) {
  const LogCore::ScopedLogSink quiet(std::make_shared<LogCore::NullSink>());
  agent_tool::FactsReader reader;
  agent_tool::WhatIf whatIf(
      kPatch, std::make_shared<const vexlo::PatchActionGroup>(
                  vexlo::PatchActionGroup::decode(FileCodec::readTextFile(kActions), kActions)));
  for (auto _ : state) {
    forEachLine([&](std::string_view line) {
      benchmark::DoNotOptimize(whatIf.predict(*reader.read(line).value()).counted.outcome);
    });
  }
  countMachines(state, kMachinesInFile);
}

/// Starts `vexlo-patch what-if` with the fleet's file given `times` times.
pid_t startTool(std::int64_t times) {
  std::vector<const char*> command{VEXLO_PATCH_TOOL, "what-if",        kActions,
                                   "--patch",        "310990",         "--product",
                                   "1201",           "--service-pack", "2301"};
  command.insert(command.end(), static_cast<std::size_t>(times), fleetFile().c_str());
  const platform::Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  return spawn(std::move(command), nowhere.get());
}

rusage waitForTool(pid_t child) {
  rusage usage{};
  int status = 0;
  if (::wait4(child, &status, 0, &usage) != child || status != 0) {
    throw std::runtime_error("what-if failed");
  }
  return usage;
}

/// The whole tool: its processor time and peak memory.
void tool(benchmark::State& state) {
  constexpr double kMicroseconds = 1e6;
  double peakBytes = 0;
  for (auto _ : state) {
    const rusage usage = waitForTool(startTool(state.range(0) / kMachinesInFile));
    const auto seconds = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / kMicroseconds;
    };
    state.SetIterationTime(seconds(usage.ru_utime) + seconds(usage.ru_stime));
    peakBytes = static_cast<double>(usage.ru_maxrss) * 1024;
  }
  countMachines(state, state.range(0));
  state.counters["peak_bytes"] = peakBytes;
}

/// Concurrent workers, each with its share of a million machines.
void workers(benchmark::State& state) {
  constexpr std::int64_t kMachines = 1'000'000;
  const std::int64_t count = state.range(0);
  for (auto _ : state) {
    std::vector<pid_t> running;
    for (std::int64_t worker = 0; worker < count; ++worker) {
      running.push_back(startTool(kMachines / kMachinesInFile / count));
    }
    for (const pid_t child : running) {
      waitForTool(child);
    }
  }
  countMachines(state, kMachines);
}

BENCHMARK(linesWithEmptyHandler)->Unit(benchmark::kMillisecond);
BENCHMARK(linesAsRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(linesAnswered)->Unit(benchmark::kMillisecond);
BENCHMARK(tool)->Arg(10'000)->Arg(1'000'000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(workers)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
