// The facts with the same types in `Facts` and `FactsRecord`.
#pragma once
#include <chrono>
#include <cstdint>
#include <optional>

#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"

namespace agent_tool {

/// Numbers, flags and other values that own no memory.
struct PlainFacts {
  bool isAppleSilicon = false;
  std::int64_t macOSMajorVersion = 0;  ///< What the library assumes if it can't be read.
  std::optional<vxutils::EnrollmentType> mdmEnrollment;
  std::chrono::seconds offsetFromUTC{0};  ///< Of the time zone when this day began, east positive.
  std::optional<vexlo::PowerSource> powerSource;  ///< As interpreted by the battery checks.
  std::optional<std::int64_t> freeDiskSpace;      ///< In bytes, on the startup volume.
  std::optional<std::uint32_t> consoleUserID;
  bool agentServiceAnswers = false;

  // From Apple's servers; absent if they were not asked.
  std::optional<bool> softwareUpdateReachable;
  std::optional<std::int32_t> softwareUpdateStatus;  ///< The exit status of the listing.

  bool operator==(const PlainFacts&) const = default;
};

}  // namespace agent_tool
