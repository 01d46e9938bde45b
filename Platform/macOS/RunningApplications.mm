#include "Platform/RunningApplications.h"

#import <AppKit/AppKit.h>
#include <signal.h>

#include <cerrno>
#include <utility>

#include "Platform/macOS/Conversions.h"

namespace platform {
namespace {

/// Wraps the workspace's object, which identifies the process.
class WorkspaceApplication final : public ApplicationProcess {
 public:
  explicit WorkspaceApplication(NSRunningApplication* application)
      : application_(CFBridgingRetain(application)) {}

  [[nodiscard]] std::string bundleIdentifier() const override {
    @autoreleasepool {
      return platform::textOf((__bridge CFTypeRef)application().bundleIdentifier).value_or("");
    }
  }
  [[nodiscard]] std::optional<std::string> localizedName() const override {
    @autoreleasepool {
      return platform::textOf((__bridge CFTypeRef)application().localizedName);
    }
  }
  [[nodiscard]] std::int32_t processIdentifier() const override {
    return application().processIdentifier;
  }
  [[nodiscard]] std::optional<std::string> executablePath() const override {
    @autoreleasepool {
      return platform::textOf((__bridge CFTypeRef)application().executableURL.path);
    }
  }
  bool forceTerminate() override {
    @autoreleasepool {
      return [application() forceTerminate];
    }
  }

 private:
  [[nodiscard]] NSRunningApplication* application() const {
    return (__bridge NSRunningApplication*)application_.get();
  }

  Owned<CFTypeRef> application_;
};

/// Whether the application has ended. The workspace notices that only when the main thread's run
/// loop runs, which a daemon's may not, so the process is looked for, too.
bool hasEnded(NSRunningApplication* application) {
  const pid_t process = application.processIdentifier;  // -1 if it has none
  return application.terminated || (process > 0 && ::kill(process, 0) != 0 && errno == ESRCH);
}

}  // namespace

std::vector<std::unique_ptr<ApplicationProcess>> runningApplications(
    std::string_view bundleIdentifier, std::error_code* failure) {
  std::vector<std::unique_ptr<ApplicationProcess>> found;
  if (failure != nullptr) {
    failure->clear();
  }
  const Owned<CFStringRef> identifier = coreFoundationText(bundleIdentifier);
  if (!identifier) {
    return found;
  }
  @autoreleasepool {
    NSArray<NSRunningApplication*>* const running = [NSRunningApplication
        runningApplicationsWithBundleIdentifier:(__bridge NSString*)identifier.get()];
    if (running == nil && failure != nullptr) {  // never for want of applications
      *failure = std::make_error_code(std::errc::resource_unavailable_try_again);
    }
    for (NSRunningApplication* application in running) {
      if (!hasEnded(application)) {
        found.push_back(std::make_unique<WorkspaceApplication>(application));
      }
    }
  }
  return found;
}

std::vector<std::unique_ptr<ApplicationProcess>> allRunningApplications(std::error_code* failure) {
  std::vector<std::unique_ptr<ApplicationProcess>> found;
  @autoreleasepool {
    NSArray<NSRunningApplication*>* const all = NSWorkspace.sharedWorkspace.runningApplications;
    if (failure != nullptr) {
      *failure = all != nil ? std::error_code()
                            : std::make_error_code(std::errc::resource_unavailable_try_again);
    }
    for (NSRunningApplication* application in all) {
      auto running = std::make_unique<WorkspaceApplication>(application);
      if (!running->bundleIdentifier().empty() && !hasEnded(application)) {
        found.push_back(std::move(running));
      }
    }
  }
  return found;
}

}  // namespace platform
