// The workspace's running applications, of AppKit. See ../../README.md.
#pragma once
#include <Foundation/Foundation.h>
#include <sys/types.h>

#pragma clang assume_nonnull begin

@interface NSRunningApplication : NSObject
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:(NSString*)identifier;
@property(readonly, copy, nullable) NSString* bundleIdentifier;
@property(readonly, copy, nullable) NSString* localizedName;
@property(readonly, getter=isTerminated) BOOL terminated;
@property(readonly) pid_t processIdentifier;
@property(readonly, copy, nullable) NSURL* executableURL;
- (BOOL)forceTerminate;
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, copy) NSArray<NSRunningApplication*>* runningApplications;
@end

#pragma clang assume_nonnull end
