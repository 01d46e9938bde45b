// Running applications that a test makes up.
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {

/// What a made-up application answers.
struct ApplicationFacts {
  std::optional<std::string> name = {};
  std::int32_t processIdentifier = 0;
  std::optional<std::string> executable = {};
  bool acceptsKill = true;
};

/// Answers from a map of bundle identifiers and records the process ids that were asked to end. An
/// application goes on running.
class FakeRunningApplicationQuery final : public RunningApplicationQuerying {
 public:
  std::map<std::string, std::vector<ApplicationFacts>> running;
  std::vector<std::int32_t> killRequests;

  std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& bundleIdentifier) override {
    std::vector<std::unique_ptr<RunningApplication>> applications;
    for (const ApplicationFacts& facts : running[bundleIdentifier]) {
      applications.push_back(std::make_unique<Application>(facts, killRequests));
    }
    return applications;
  }

 private:
  struct Application final : RunningApplication {
    Application(ApplicationFacts given, std::vector<std::int32_t>& requests)
        : facts(std::move(given)), killRequests(requests) {}
    [[nodiscard]] std::optional<std::string> localizedName() const override { return facts.name; }
    [[nodiscard]] std::int32_t processIdentifier() const override {
      return facts.processIdentifier;
    }
    [[nodiscard]] std::optional<std::string> executableURL() const override {
      return facts.executable;
    }
    bool forceTerminate() override {
      killRequests.push_back(facts.processIdentifier);
      return facts.acceptsKill;
    }
    ApplicationFacts facts;
    std::vector<std::int32_t>& killRequests;
  };
};

}  // namespace vexlo
