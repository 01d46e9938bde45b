// Measures a job in a new process: its time and the growth of peak memory.
#pragma once
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Platform/Process.h"

class FreshProcess {
 public:
  struct Job {
    std::string_view name;
    std::function<void(const std::string& path)> work;
  };
  struct Cost {
    double seconds = 0;
    double peakGrowthBytes = 0;
  };

  /// Runs the job on a file in a new process of this program.
  static Cost run(const Job& job, const std::string& path) {
    const platform::ProcessResult result =
        platform::runProcess({.executable = "/proc/self/exe",
                              .arguments = {std::string(kOption), std::string(job.name), path}});
    Cost cost;
    if (result.exitCode != 0 ||
        std::sscanf(result.output.c_str(), "%lf %lf", &cost.seconds, &cost.peakGrowthBytes) != 2) {
      throw std::runtime_error("the measured process failed: " + result.output);
    }
    return cost;
  }

  static bool isOne(int argc, char** argv) { return argc == 4 && argv[1] == kOption; }

  /// The main function of the new process.
  static int serve(char** argv, std::initializer_list<const Job*> jobs) {
    for (const Job* job : jobs) {
      if (job->name == argv[2]) {
        const double before = peakBytes();
        const auto start = std::chrono::steady_clock::now();
        job->work(argv[3]);
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        std::printf("%.9f %.0f\n", spent.count(), peakBytes() - before);
        return EXIT_SUCCESS;
      }
    }
    return EXIT_FAILURE;
  }

  /// The highest resident size of this process so far.
  static double peakBytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      double kilobytes = 0;
      if (std::sscanf(line.c_str(), "VmHWM: %lf kB", &kilobytes) == 1) {
        return kilobytes * 1024;
      }
    }
    throw std::runtime_error("/proc/self/status names no VmHWM");
  }

 private:
  static constexpr std::string_view kOption = "--fresh-process";
};
