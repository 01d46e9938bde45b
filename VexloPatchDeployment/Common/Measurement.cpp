#include "VexloPatchDeployment/Common/Measurement.h"

#include <ostream>

#include "Platform/Text.h"

namespace vexlo {

std::string describe(const Measurement& measurement) { return measurement.words(); }

std::string describe(std::span<const Measurement> measurements) {
  std::string out;
  for (const Measurement& measurement : measurements) {
    (out += out.empty() ? "" : "; ") += measurement.words();
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const Measurement& measurement) {
  return out << measurement.words();
}

std::string measurementsAsJSON(std::span<const Measurement> measurements) {
  return '[' + platform::joined(measurements, ",", &Measurement::json) + ']';
}

}  // namespace vexlo
