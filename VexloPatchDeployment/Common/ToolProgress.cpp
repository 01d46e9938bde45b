#include "VexloPatchDeployment/Common/ToolProgress.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "Platform/RealNumbers.h"
#include "Platform/Text.h"

namespace vexlo {
namespace {

using Phase = ActionProgress::Phase;

constexpr std::size_t kMostLineBytes = 4096;
constexpr double kWhole = 100;

/// The beginning of a phase's lines.
struct Beginning {
  std::string_view text;
  Phase phase;
  bool isDone = false;  ///< The line reports the end of the phase.
};
constexpr std::array kBeginnings{
    Beginning{"Finding available software", Phase::searching},
    Beginning{"Downloading", Phase::downloading},
    Beginning{"Downloaded", Phase::downloading, true},
    Beginning{"Preparing", Phase::preparing},
    Beginning{"Installing", Phase::installing},
};

/// The number of «Downloading: 54.17%»; absent for any other line.
std::optional<double> percentIn(std::string_view line) {
  const std::size_t colon = line.find(": ");
  if (colon == std::string_view::npos || !line.ends_with('%')) {
    return std::nullopt;
  }
  const std::string_view number = line.substr(colon + 2, line.size() - colon - 3);
  const bool isDecimal = std::ranges::all_of(
      number, [](char each) { return (each >= '0' && each <= '9') || each == '.'; });
  const std::optional<double> percent = isDecimal ? platform::parseReal(number) : std::nullopt;
  return percent && *percent <= kWhole ? percent : std::nullopt;
}

}  // namespace

ToolProgress::ToolProgress(Callback callback) : callback_(std::move(callback)) {
  line_.reserve(kMostLineBytes);
}

void ToolProgress::read(std::string_view output) {
  while (!output.empty()) {
    const std::size_t end = output.find_first_of("\r\n");
    const std::string_view piece = output.substr(0, end);
    line_ += piece.substr(0, kMostLineBytes - line_.size());
    if (end == std::string_view::npos) {
      break;
    }
    endLine();
    output.remove_prefix(end + 1);
  }
  if (percentIn(platform::trimmed(line_))) {
    endLine();
  }
}

void ToolProgress::endLine() {
  const std::string_view line = platform::trimmed(line_);
  if (!line.empty()) {
    const auto* const beginning = std::ranges::find_if(
        kBeginnings, [&](const Beginning& each) { return line.starts_with(each.text); });
    if (beginning != kBeginnings.end()) {
      if (phase_ != beginning->phase) {
        percent_.reset();
      }
      phase_ = beginning->phase;
      if (const std::optional<double> percent = percentIn(line)) {
        percent_ = percent;
      } else if (beginning->isDone) {
        percent_ = kWhole;
      }
    }
    callback_({.phase = phase_, .percent = percent_, .line = line});
  }
  line_.clear();
}

}  // namespace vexlo
