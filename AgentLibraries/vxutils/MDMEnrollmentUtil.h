// Whether and how the machine is enrolled in MDM.
#pragma once
#include <chrono>
#include <cstdint>

#include "Platform/Process.h"

namespace vxutils {

/// `user_approved` is every enrollment by a user, approved or not.
enum class EnrollmentType : std::uint8_t {
  not_enrolled,
  user_approved,
  dep
};  // NOLINT: agent's names

/// Runs `/usr/bin/profiles status -type enrollment`, without a shell, on every call.
class MDMEnrollmentUtil {
 public:
  static MDMEnrollmentUtil& shared();
  /// The answer of `enrollmentFrom`; the tool is ended, which is a failure, after `timeout`.
  [[nodiscard]] EnrollmentType getEnrollmentType(
      std::chrono::milliseconds timeout = std::chrono::minutes(1)) const;
};

/// The enrollment according to a run of the tool. `not_enrolled` if the tool is missing or failed,
/// which is logged, or if its line "MDM enrollment:" says no; old versions that lack this line are
/// judged by "Enrolled via DEP:". Other lines are ignored. If the exit status is unknown, only the
/// output counts.
[[nodiscard]] EnrollmentType enrollmentFrom(const platform::ProcessResult& run);

}  // namespace vxutils
