// The classes of Foundation that Platform/macOS sends messages to. See ../../README.md.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <objc/objc.h>

#pragma clang assume_nonnull begin

typedef unsigned long NSUInteger;

__attribute__((objc_root_class))
@interface NSObject {
  Class isa;
}
+ (instancetype)alloc;
- (instancetype)init;
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
- (void)dealloc;
@end

typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;

@interface NSString : NSObject
@end

@interface NSURL : NSObject
@property(readonly, copy, nullable) NSString* path;
@end

@interface NSArray<__covariant ObjectType> : NSObject
@property(readonly) NSUInteger count;
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)capacity;
@end

// Transfers ownership of the reference to Core Foundation code, which releases it.
static inline CFTypeRef _Nullable CFBridgingRetain(id _Nullable object) CF_RETURNS_RETAINED;
static inline CFTypeRef _Nullable CFBridgingRetain(id _Nullable object) {
#if __has_feature(objc_arc)
  return (__bridge_retained CFTypeRef)object;
#else
  return object == nil ? nullptr : CFRetain((CFTypeRef)object);
#endif
}

#pragma clang assume_nonnull end
