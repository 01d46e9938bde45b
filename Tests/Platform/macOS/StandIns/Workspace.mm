// Stand-ins for the classes that Platform/macOS uses, for Linux's Objective-C runtime. What
// AppKit's and Foundation's classes do is known from their documentation only.
#import <AppKit/AppKit.h>
#import <objc/runtime.h>

#include <vector>

#include "Tests/Platform/macOS/StandIns/System.h"

namespace {

std::vector<std::vector<stand_in::Owned<CFTypeRef>>> pools;

/// Adds the text, if there is one, to the innermost pool.
id pooled(const std::optional<std::u16string>& text) {
  if (!text) {
    return nil;
  }
  pools.back().emplace_back(stand_in::made(*text));
  return reinterpret_cast<id>(const_cast<void*>(pools.back().back().get()));
}

void end(CFTypeRef object) { [reinterpret_cast<id>(const_cast<void*>(object)) dealloc]; }

/// What the object stands for: an application, also for the URL of its program.
const stand_in::Instance*& instanceOf(id object) {
  return *static_cast<const stand_in::Instance**>(object_getIndexedIvars(object));
}

}  // namespace

@implementation NSObject
+ (instancetype)alloc {
  const id made = class_createInstance(self, sizeof(stand_in::Instance*));
  stand_in::countReferences(made, end);
  return made;
}
- (instancetype)init {
  return self;
}
- (instancetype)retain {
  CFRetain(self);
  return self;
}
- (oneway void)release {
  CFRelease(self);
}
- (instancetype)autorelease {
  pools.back().emplace_back(self);
  return self;
}
- (void)dealloc {
  object_dispose(self);
}
@end

// The implementation of @autoreleasepool on this runtime. Not counted.
@interface NSAutoreleasePool : NSObject
- (void)drain;
@end

@implementation NSAutoreleasePool
+ (instancetype)alloc {
  return class_createInstance(self, 0);
}
- (instancetype)init {
  pools.emplace_back();
  return self;
}
- (void)drain {
  const auto released = std::move(pools.back());
  pools.pop_back();
  object_dispose(self);
}
@end

namespace {

/// Makes the new object stand for the application and adds it to the innermost pool.
id standingFor(const stand_in::Instance* instance, id made) {
  instanceOf(made) = instance;
  return [made autorelease];
}

}  // namespace

@implementation NSURL
- (NSString*)path {
  return pooled(instanceOf(self)->path);
}
@end

// Holds the machine's applications.
@implementation NSArray
@dynamic count;
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id*)buffer
                                    count:(NSUInteger)capacity {
  NSUInteger given = 0;
  while (given < capacity && state->state < stand_in::machine.applications.size()) {
    const auto& application = stand_in::machine.applications[state->state++];
    buffer[given++] = standingFor(&application, [NSRunningApplication alloc]);
  }
  state->itemsPtr = buffer;
  state->mutationsPtr = &state->extra[0];
  return given;
}
@end

@implementation NSRunningApplication
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)identifier {
  stand_in::machine.identifier = stand_in::bytesOf(identifier);
  return [[[NSArray alloc] init] autorelease];
}
- (NSString*)bundleIdentifier {
  return pooled(instanceOf(self)->identifier);
}
- (NSString*)localizedName {
  return pooled(instanceOf(self)->name);
}
- (BOOL)isTerminated {
  return instanceOf(self)->terminated;
}
- (pid_t)processIdentifier {
  return instanceOf(self)->processIdentifier;
}
- (NSURL*)executableURL {
  return instanceOf(self)->hasExecutable ? standingFor(instanceOf(self), [NSURL alloc]) : nil;
}
- (BOOL)forceTerminate {
  return instanceOf(self)->canBeKilled;
}
@end

@implementation NSWorkspace
+ (NSWorkspace*)sharedWorkspace {
  return [[[NSWorkspace alloc] init] autorelease];
}
- (NSArray*)runningApplications {
  return [[[NSArray alloc] init] autorelease];
}
@end
