// Whether and how the machine is enrolled in MDM.
#pragma once
#include <chrono>
#include <cstdint>

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
  /// `not_enrolled` if the tool says so. Also, with the reason in the log, if the tool is missing,
  /// fails or takes longer than `timeout`.
  [[nodiscard]] EnrollmentType getEnrollmentType(
      std::chrono::milliseconds timeout = std::chrono::minutes(1)) const;
};

}  // namespace vxutils
