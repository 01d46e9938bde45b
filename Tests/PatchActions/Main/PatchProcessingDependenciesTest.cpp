#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <string>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace vexlo {
namespace {

/// The production container of an agent whose directories are empty.
class PatchProcessingDependenciesTest : public ::testing::Test {
 protected:
  PatchProcessingDependenciesTest() {
    const std::string& root = directory.path();
    vxutils::gv_globvars.setDirectories({.base = root, .data = root, .logs = root});
    vxutils::gv_globvars.setAppleSiliconMachine(true);
  }
  ~PatchProcessingDependenciesTest() override {
    vxutils::gv_globvars.setAppleSiliconMachine(std::nullopt);
    vxutils::gv_globvars.setDirectories({});
  }
  [[nodiscard]] std::ptrdiff_t linesOf(const std::string& file) const {
    return std::ranges::count(log.records(), file, &LogRecord::file);
  }

  TemporaryDirectory directory;
  LogCapture log;
  DefaultPatchProcessingDependencies dependencies;
};

TEST_F(PatchProcessingDependenciesTest, FailedInstallerContainerIsNotRetried) {
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(dependencies.softwareUpdateInstallerDependencies(), nullptr);
    EXPECT_EQ(dependencies.upgradeInstallerDependencies(), nullptr);
  }
  EXPECT_EQ(linesOf("Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies"),
            1);
  EXPECT_EQ(linesOf("Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies"), 1);
}

TEST_F(PatchProcessingDependenciesTest, EvaluatorSharesTheCustomization) {
  const std::string file =
      "Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider";
  EXPECT_EQ(dependencies.runningAppPromptCustomizationProvider().customizationData(), std::nullopt);
  const auto lines = linesOf(file);
  EXPECT_GT(lines, 0);
  (void)dependencies.runningAppPromptEvaluator().evaluate("com.example.editor", "310990");
  EXPECT_EQ(linesOf(file), lines) << "it is read again";
}

}  // namespace
}  // namespace vexlo
