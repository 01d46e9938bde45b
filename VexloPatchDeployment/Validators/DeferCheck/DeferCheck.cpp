#include "VexloPatchDeployment/Validators/DeferCheck/DeferCheck.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Validators/DeferCheck/DeferralMeasurements.h"

namespace vexlo {
namespace {

constexpr LogTag kDeferCheckTag{"isMacOSUpdateDeferred(for:)"};
constexpr LogTag kValidateTag{"validate(_:)"};

/// Whether a product key or a date has at least two characters. In UTF-8, bytes 10xxxxxx continue a
/// character.
bool isMeaningful(std::string_view text) {
  return std::ranges::count_if(text, [](unsigned char byte) { return (byte & 0xC0) != 0x80; }) >= 2;
}

/// The «2024-06-15» of «2024-06-15 00:00:00 +0000».
std::string_view datePart(std::string_view dateAndTime) {
  return dateAndTime.substr(0, dateAndTime.find(' '));
}

/// Reformats the day as «2024-Jun-15»; absent if it isn't a valid day.
std::optional<std::string> convertDateFormat(std::string_view dateText) {
  return platform::parseDay(dateText).transform(platform::yearMonthNameDay);
}

}  // namespace

MacOSUpdateDeferral MacOSUpdateDeferralChecker::isMacOSUpdateDeferred(std::string_view version) {
  const auto available = availableOSUpdatesResolver_.availableOSUpdates();
  MacOSUpdateDeferral deferral = deferralOf(version, available);
  measured([&] {
    return DeferralMeasurement{.version = std::string(version),
                               .isDeferred = deferral.isDeferred,
                               .until = deferral.date,
                               .updatesListed = available && available->isListed};
  });
  return deferral;
}

MacOSUpdateDeferral MacOSUpdateDeferralChecker::deferralOf(
    std::string_view version, const std::optional<AvailableOSUpdates>& available) const {
  if (!available) {
    logError(kDeferCheckTag, [] {
      return "Unable to get AvailableOSUpdate - Network error. Need to check later.";
    });
    return {.isDeferred = std::nullopt, .date = std::nullopt};
  }
  if (available->updates.empty()) {
    logError(kDeferCheckTag,
             [] { return "Unable to get AvailableOSUpdate. Considering it as not deferred."; });
    return {.isDeferred = false, .date = std::nullopt};
  }
  for (const AvailableOSUpdate& update : available->updates) {
    if (update.version != version || !update.productKey || !update.deferredUntil) {
      continue;
    }
    const std::string_view date = datePart(*update.deferredUntil);
    if (!isMeaningful(*update.productKey) || !isMeaningful(date) || !validate(date)) {
      continue;
    }
    std::optional<std::string> until = convertDateFormat(date);
    logInfo(kDeferCheckTag, [&] {
      return text("macOS ", version, " is deferred untill ", date, ":", optionalText(until), " - ",
                  *update.productKey, ".");
    });
    return {.isDeferred = true, .date = std::move(until)};
  }
  logInfo(kDeferCheckTag, [&] { return text("macOS ", version, " is not deferred."); });
  return {.isDeferred = false, .date = std::nullopt};
}

bool MacOSUpdateDeferralChecker::validate(std::string_view dateText) const {
  const std::optional<std::chrono::year_month_day> day = platform::parseDay(dateText);
  if (!day) {
    logError(kValidateTag, [&] {
      return text(
          "Unable to obtain defer date from given data, returning as update not deferred, but "
          "deferredUntil :",
          dateText);
    });
    return false;
  }
  const platform::Moment deferredDate = startOfDay_(*day);
  const platform::Moment currentDate = now_();
  const bool deferred = deferredDate > currentDate;
  logInfo(kValidateTag, [&] {
    return text("deferredUntil ", dateText, ", deferredDate ",
                platform::describeMoment(deferredDate), ", currentDate ",
                platform::describeMoment(currentDate), ", isMacOSUpdateDeferred ", deferred);
  });
  return deferred;
}

std::string DeferralMeasurement::words() const {
  if (!isDeferred) {
    return "the MDM client didn't report deferrals";
  }
  if (!updatesListed) {
    return "mdmclient printed no list of updates, counts as not deferred";
  }
  if (!*isDeferred) {
    return text("macOS ", version, " not deferred");
  }
  return until ? "deferred until " + *until : "deferred, date unreadable";
}

std::string DeferralMeasurement::json() const {
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addString("version", version)
      .addBoolean("isDeferred", isDeferred)
      .addString("until", until)
      .addBoolean("updatesListed", updatesListed)
      .done();
}

}  // namespace vexlo
