// The two processes of `enter`: options, messages, exit statuses.
#pragma once
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

struct EnterOptions {
  std::string scenario;
  std::vector<std::string> settings;
  std::optional<std::string> records;
  bool userNamespace = false;  ///< Create a user namespace even for root.
  bool prints = false;         ///< Only print the effective settings.
  std::vector<std::string> command;
};

// Every other status is the command's.
inline constexpr int kBadUsage = 64;
inline constexpr int kBadScenario = 65;
inline constexpr int kDoesntStart = 70;
inline constexpr int kCantEnter = 77;
inline constexpr int kNotFound = 127;
inline constexpr int kNotExecutable = 126;

inline constexpr const char* kCantMakeMac = "can't make a simulated Mac here: ";

/// Prints the problem to standard error and returns `status`.
inline int report(const std::string& problem, int status) {
  std::cerr << "enter: " << problem << "\n";
  return status;
}

/// Process 1 of a simulated Mac: builds it, starts its service and applications, runs the command,
/// and returns the exit status of `enter`. Runs in new mount and process namespaces: when it exits,
/// everything in the Mac is killed.
int runFirstProcess(const Scenario& scenario, const EnterOptions& options);

}  // namespace simulated_mac
