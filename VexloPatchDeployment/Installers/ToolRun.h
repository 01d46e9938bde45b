// Runs installation tools and measures the runs.
#pragma once
#include <optional>
#include <string>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

namespace vexlo {

/// « --user "name" --stdinpass», with which a tool reads the password from its standard input;
/// empty without credentials. The name is untrusted and therefore escaped.
[[nodiscard]] std::string userOptions(const std::optional<Credentials>& credentials);

/// Runs a tool's command line, with the password of the credentials, if any, as standard input.
/// Wipes its copy of the password.
[[nodiscard]] CommandResult runWithPassword(const std::string& line,
                                            const std::optional<Credentials>& credentials,
                                            CommandExecutor& executor);

/// The measurement for a finished run.
[[nodiscard]] ToolRunMeasurement toolRun(ToolRunMeasurement::Step step, const std::string& subject,
                                         const CommandResult& result);

}  // namespace vexlo
