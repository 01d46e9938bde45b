// The patch action file: decoding it warm and in a new process, and plans from a large file, each
// with a baseline to compare with.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "AgentLibraries/FileCodec/IgnoredParserEvents.h"
#include "AgentLibraries/FileCodec/JSONManager.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "Benchmarks/FreshProcess.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

namespace {

using vexlo::PatchActionGroup;

/// A file of about `bytes`, as servers ship it: patches with a few actions each.
std::string generateActionFile(std::size_t bytes) {
  std::string json =
      R"({"ProductServicePackActions":{"ExclusionPatchIDs":["310872"],)"
      R"("1201":{"2301":{"2001":["30"],"2002":["30"],"2003":[],"2005":["20"]}}},"PatchActions":{)";
  for (int patch = 300'000; json.size() < bytes; ++patch) {
    json += (patch == 300'000 ? "\"" : ",\"") + std::to_string(patch) +
            R"(":{"2003":[],"2005":["25"],"2008":["com.example.editor","com.example.viewer"]})";
  }
  return json + "}}";
}

constexpr std::size_t kMegabyte = 1'000'000;

void parserWithEmptyHandler(benchmark::State& state) {
  const std::string file = generateActionFile(kMegabyte);
  for (auto _ : state) {
    boost::json::basic_parser<FileCodec::IgnoredParserEvents> parser(boost::json::parse_options{});
    boost::system::error_code error;
    benchmark::DoNotOptimize(parser.write_some(false, file.data(), file.size(), error));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(file.size()) * state.iterations());
}
BENCHMARK(parserWithEmptyHandler)->Unit(benchmark::kMicrosecond);

void decodeOneMegabyte(benchmark::State& state) {
  const std::string file = generateActionFile(kMegabyte);
  for (auto _ : state) {
    state.PauseTiming();
    std::string copy = file;
    state.ResumeTiming();
    benchmark::DoNotOptimize(PatchActionGroup::decode(std::move(copy), "f").patchActions());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(file.size()) * state.iterations());
}
BENCHMARK(decodeOneMegabyte)->Unit(benchmark::kMicrosecond);

/// The straightforward implementation: the JSON library's tree, then maps of strings.
using Arguments = std::vector<std::string>;
using Actions = std::map<std::string, Arguments>;
std::map<std::string, Actions> decodeStraightforwardly(const std::string& path) {
  const boost::json::value tree = boost::json::parse(FileCodec::readTextFile(path));
  std::map<std::string, Actions> patches;
  for (const auto& [patch, actions] : tree.at("PatchActions").as_object()) {
    Actions& decoded = patches[std::string(patch)];
    for (const auto& [code, arguments] : actions.as_object()) {
      Arguments& texts = decoded[std::string(code)];
      for (const auto& argument : arguments.as_array()) {
        texts.emplace_back(argument.as_string());
      }
    }
  }
  return patches;
}

const FreshProcess::Job kDecode{"decode", [](const std::string& path) {
                                  const FileCodec::JSONManager<PatchActionGroup> manager(path);
                                  benchmark::DoNotOptimize(manager.data());
                                }};
const FreshProcess::Job kStraightforward{"straightforward", [](const std::string& path) {
                                           const auto patches = decodeStraightforwardly(path);
                                           benchmark::DoNotOptimize(patches);
                                         }};

void freshProcess(benchmark::State& state, const FreshProcess::Job& job) {
  const TemporaryDirectory directory;
  const std::string file = directory.write("actions.json", generateActionFile(10 * kMegabyte));
  double growth = 0;
  for (auto _ : state) {
    const FreshProcess::Cost cost = FreshProcess::run(job, file);
    state.SetIterationTime(cost.seconds);
    growth = std::max(growth, cost.peakGrowthBytes);
  }
  state.counters["peak growth / file"] = growth / (10.0 * kMegabyte);
}
BENCHMARK_CAPTURE(freshProcess, decodeTenMegabytes, kDecode)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(freshProcess, straightforwardTenMegabytes, kStraightforward)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

/// A decoded file of 100 MB, and a map with as many entries as it has patches.
struct LargeFile {
  std::shared_ptr<const PatchActionGroup> group = std::make_shared<const PatchActionGroup>(
      PatchActionGroup::decode(generateActionFile(100 * kMegabyte), "f"));
  std::unordered_map<std::string, int> map;
  std::vector<std::string> patchIDs;  ///< In random order.

  LargeFile() {
    const auto patches = group->patchActions()->patches();
    for (const auto& patch : patches) {
      map.emplace(patch.name, 1);
    }
    for (std::size_t i = 0; i < 4096; ++i) {
      patchIDs.emplace_back(patches[i * 2654435761U % patches.size()].name);
    }
  }
  static const LargeFile& shared() {
    static const LargeFile file;
    return file;
  }
};

void lookUpInUnorderedMap(benchmark::State& state) {
  const LargeFile& file = LargeFile::shared();
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(file.map.find(file.patchIDs[next++ % file.patchIDs.size()]));
  }
}
BENCHMARK(lookUpInUnorderedMap);

void planFromLargeFile(benchmark::State& state) {
  const LargeFile& file = LargeFile::shared();
  const LogCore::ScopedLogSink quiet(std::make_shared<LogCore::NullSink>());
  std::size_t next = 0;
  std::size_t actions = 0;
  for (auto _ : state) {
    const vexlo::PatchActionProvider provider(
        {file.patchIDs[next++ % file.patchIDs.size()], "1201", "2301"}, file.group);
    actions += provider.actionDetails().size();
  }
  state.counters["time per action"] = benchmark::Counter(
      static_cast<double>(actions), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(planFromLargeFile);

}  // namespace

int main(int argc, char** argv) {
  if (FreshProcess::isOne(argc, argv)) {
    return FreshProcess::serve(argv, {&kDecode, &kStraightforward});
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
