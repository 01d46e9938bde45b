#include "Platform/RunningApplications.h"

#import <AppKit/AppKit.h>
#include <signal.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "Platform/macOS/Conversions.h"

namespace platform {
namespace {

ApplicationProcess processOf(NSRunningApplication* application) {
  // The workspace's object identifies the process.
  const std::shared_ptr<const void> held(CFBridgingRetain(application), Release());
  return {.bundleIdentifier = textOf((__bridge CFTypeRef)application.bundleIdentifier).value_or(""),
          .localizedName = textOf((__bridge CFTypeRef)application.localizedName),
          .processIdentifier = application.processIdentifier,
          .executableURL = textOf((__bridge CFTypeRef)application.executableURL.path),
          .forceTerminate = [held]() -> bool {
            @autoreleasepool {
              return [(__bridge NSRunningApplication*)held.get() forceTerminate];
            }
          }};
}

/// Whether the application has ended. The workspace notices that only when the main thread's run
/// loop runs, which a daemon's may not, so the process is looked for, too.
bool hasEnded(NSRunningApplication* application) {
  const pid_t process = application.processIdentifier;  // -1 if it has none
  return application.terminated || (process > 0 && ::kill(process, 0) != 0 && errno == ESRCH);
}

}  // namespace

std::vector<ApplicationProcess> runningApplications(
    std::optional<std::string_view> bundleIdentifier, std::error_code* failure) {
  std::vector<ApplicationProcess> found;
  if (failure != nullptr) {
    failure->clear();
  }
  const Owned<CFStringRef> identifier = coreFoundationText(bundleIdentifier.value_or(""));
  if (!identifier) {
    return found;
  }
  @autoreleasepool {
    NSArray<NSRunningApplication*>* const running =
        bundleIdentifier
            ? [NSRunningApplication
                  runningApplicationsWithBundleIdentifier:(__bridge NSString*)identifier.get()]
            : NSWorkspace.sharedWorkspace.runningApplications;
    if (running == nil && failure != nullptr) {  // never for want of applications
      *failure = std::make_error_code(std::errc::resource_unavailable_try_again);
    }
    for (NSRunningApplication* application in running) {
      ApplicationProcess process = processOf(application);
      if (!hasEnded(application) && (bundleIdentifier || !process.bundleIdentifier.empty())) {
        found.push_back(std::move(process));
      }
    }
  }
  return found;
}

}  // namespace platform
