// Stand-ins for the classes that Platform/macOS uses, for Linux's Objective-C runtime. What
// AppKit's and Foundation's classes do is known from their documentation only.
#import <AppKit/AppKit.h>
#import <objc/runtime.h>

#include <vector>

#include "Tests/Platform/macOS/StandIns/System.h"

namespace {

std::vector<std::vector<CFTypeRef>> pools;  // objects to release with each pool

/// Adds the object to the innermost pool.
id left(CFTypeRef object) {
  if (object != nullptr) {
    pools.back().push_back(object);  // requires an open pool
  }
  return reinterpret_cast<id>(const_cast<void*>(object));
}

void end(CFTypeRef object) { [reinterpret_cast<id>(const_cast<void*>(object)) dealloc]; }

CFTypeRef textOrNull(const std::optional<std::u16string>& text) {
  return text ? stand_in::text(*text) : nullptr;
}

}  // namespace

@implementation NSObject
+ (instancetype)alloc {
  const id made = class_createInstance(self, 0);
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
  return left(self);
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
  const std::vector<CFTypeRef> objects = std::move(pools.back());
  pools.pop_back();
  for (const CFTypeRef object : objects) {
    CFRelease(object);
  }
  object_dispose(self);
}
@end

// On this runtime a class's interface declares its variables, so the stand-ins are subclasses.
@interface InstanceAddress : NSURL {
 @public
  const stand_in::Instance* instance;
}
@end

@interface InstanceArray : NSArray {
 @public
  std::vector<id>* elements;
}
@end

@interface InstanceApplication : NSRunningApplication {
 @public
  const stand_in::Instance* instance;
}
@end

@implementation NSURL
@dynamic path;
@end

@implementation InstanceAddress
- (NSString*)path {
  return left(textOrNull(instance->path));
}
@end

@implementation NSArray
@dynamic count;
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id*)buffer
                                    count:(NSUInteger)capacity {
  return 0;
}
@end

@implementation InstanceArray
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id*)buffer
                                    count:(NSUInteger)capacity {
  NSUInteger given = 0;
  while (given < capacity && state->state < elements->size()) {
    buffer[given++] = (*elements)[state->state++];
  }
  state->itemsPtr = buffer;
  state->mutationsPtr = &state->extra[0];
  return given;
}
- (void)dealloc {
  for (std::size_t index = 0; index < elements->size(); ++index) {
    [(*elements)[index] release];
  }
  delete elements;
  [super dealloc];
}
@end

namespace {

NSArray* everyInstance() {
  InstanceArray* const found = [[InstanceArray alloc] init];
  found->elements = new std::vector<id>;
  for (const stand_in::Instance& running : stand_in::machine.applications) {
    InstanceApplication* const application = [[InstanceApplication alloc] init];
    application->instance = &running;
    found->elements->push_back(application);
  }
  return [found autorelease];
}

}  // namespace

@implementation NSRunningApplication
@dynamic bundleIdentifier, localizedName, terminated, processIdentifier, executableURL;
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)identifier {
  stand_in::machine.identifier = stand_in::bytesOf(identifier);
  return everyInstance();
}
- (BOOL)forceTerminate {
  return NO;
}
@end

@implementation NSWorkspace
+ (NSWorkspace*)sharedWorkspace {
  return [[[NSWorkspace alloc] init] autorelease];
}
- (NSArray*)runningApplications {
  return everyInstance();
}
@end

@implementation InstanceApplication
- (NSString*)bundleIdentifier {
  return left(textOrNull(instance->identifier));
}
- (NSString*)localizedName {
  return left(textOrNull(instance->name));
}
- (BOOL)isTerminated {
  return instance->terminated;
}
- (pid_t)processIdentifier {
  return instance->processIdentifier;
}
- (NSURL*)executableURL {
  if (!instance->hasExecutable) {
    return nil;
  }
  InstanceAddress* const address = [[InstanceAddress alloc] init];
  address->instance = instance;
  return [address autorelease];
}
- (BOOL)forceTerminate {
  return instance->canBeKilled;
}
@end
