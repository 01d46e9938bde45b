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

/// Answers from a map of bundle identifiers; records the questions and the process ids that were
/// asked to end. An application goes on running.
class FakeRunningApplicationQuery final : public RunningApplicationQuerying {
 public:
  std::map<std::string, std::vector<ApplicationFacts>> running;
  std::vector<std::string> asked;
  std::vector<std::int32_t> killRequests;

  std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& bundleIdentifier) override {
    asked.push_back(bundleIdentifier);
    std::vector<std::unique_ptr<RunningApplication>> applications;
    for (const ApplicationFacts& facts : running[bundleIdentifier]) {
      applications.push_back(std::make_unique<Application>(facts, killRequests));
    }
    return applications;
  }

 private:
  class Application final : public RunningApplication {
   public:
    Application(ApplicationFacts facts, std::vector<std::int32_t>& killRequests)
        : facts_(std::move(facts)), killRequests_(killRequests) {}
    [[nodiscard]] std::optional<std::string> localizedName() const override { return facts_.name; }
    [[nodiscard]] std::int32_t processIdentifier() const override {
      return facts_.processIdentifier;
    }
    [[nodiscard]] std::optional<std::string> executableURL() const override {
      return facts_.executable;
    }
    bool forceTerminate() override {
      killRequests_.push_back(facts_.processIdentifier);
      return facts_.acceptsKill;
    }

   private:
    ApplicationFacts facts_;
    std::vector<std::int32_t>& killRequests_;
  };
};

}  // namespace vexlo
