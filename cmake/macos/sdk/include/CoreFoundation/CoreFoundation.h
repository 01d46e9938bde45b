// The part of Core Foundation that Platform/macOS uses. See ../../README.md.
#pragma once
#include <stdint.h>

#ifdef __clang__
#define VEXLO_SDK_BRIDGED(type) __attribute__((objc_bridge(type)))
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))
#pragma clang assume_nonnull begin
#else  // the stand-ins' tests are also built by other compilers
#define VEXLO_SDK_BRIDGED(type)
#define CF_RETURNS_RETAINED
#define _Nullable
#define _Nonnull
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef uint16_t UniChar;
typedef uint32_t UInt32;
typedef int32_t SInt32;
typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned long CFHashCode;
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;  // seconds since 2001-01-01 00:00:00 UTC
typedef struct {
  CFIndex location;
  CFIndex length;
} CFRange;

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct VEXLO_SDK_BRIDGED(NSString) __CFString* CFStringRef;
typedef const struct VEXLO_SDK_BRIDGED(NSArray) __CFArray* CFArrayRef;
typedef const struct VEXLO_SDK_BRIDGED(NSDictionary) __CFDictionary* CFDictionaryRef;
typedef const struct VEXLO_SDK_BRIDGED(NSNumber) __CFNumber* CFNumberRef;
typedef const struct VEXLO_SDK_BRIDGED(NSNumber) __CFBoolean* CFBooleanRef;
typedef const struct VEXLO_SDK_BRIDGED(NSDate) __CFDate* CFDateRef;
typedef const struct VEXLO_SDK_BRIDGED(NSData) __CFData* CFDataRef;
typedef const struct VEXLO_SDK_BRIDGED(NSURL) __CFURL* CFURLRef;
typedef const struct VEXLO_SDK_BRIDGED(NSLocale) __CFLocale* CFLocaleRef;
typedef const struct VEXLO_SDK_BRIDGED(NSTimeZone) __CFTimeZone* CFTimeZoneRef;
typedef struct VEXLO_SDK_BRIDGED(NSError) __CFError* CFErrorRef;
typedef struct __CFCalendar* CFCalendarRef;
typedef struct __CFDateFormatter* CFDateFormatterRef;
typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;

extern const CFAllocatorRef _Nullable kCFAllocatorDefault;
CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
CFStringRef _Nullable CFCopyDescription(CFTypeRef _Nullable object) CF_RETURNS_RETAINED;

typedef UInt32 CFStringEncoding;
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };
CFTypeID CFStringGetTypeID(void);
CFStringRef _Nullable CFStringCreateWithBytes(CFAllocatorRef _Nullable allocator,
                                              const UInt8* bytes, CFIndex count,
                                              CFStringEncoding encoding,
                                              Boolean isExternal) CF_RETURNS_RETAINED;
CFIndex CFStringGetLength(CFStringRef text);  // UTF-16 units
void CFStringGetCharacters(CFStringRef text, CFRange range, UniChar* buffer);

CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef flag);

typedef CFIndex CFNumberType;
enum : CFNumberType { kCFNumberSInt64Type = 4, kCFNumberFloat64Type = 6 };
CFTypeID CFNumberGetTypeID(void);
Boolean CFNumberIsFloatType(CFNumberRef number);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);  // false: inexact
CFNumberRef _Nullable CFNumberCreate(CFAllocatorRef _Nullable allocator, CFNumberType type,
                                     const void* value) CF_RETURNS_RETAINED;
typedef CFIndex CFComparisonResult;
enum : CFComparisonResult { kCFCompareEqualTo = 0 };
CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void* _Nullable context);

CFTypeID CFDateGetTypeID(void);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);

CFTypeID CFDataGetTypeID(void);
CFIndex CFDataGetLength(CFDataRef data);
const UInt8* _Nullable CFDataGetBytePtr(CFDataRef data);

CFTypeID CFArrayGetTypeID(void);
CFIndex CFArrayGetCount(CFArrayRef array);
const void* _Nullable CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

CFTypeID CFDictionaryGetTypeID(void);
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void* _Nullable* _Nullable keys,
                                  const void* _Nullable* _Nullable values);

CFURLRef _Nullable CFURLCreateFromFileSystemRepresentation(CFAllocatorRef _Nullable allocator,
                                                           const UInt8* path, CFIndex length,
                                                           Boolean isDirectory) CF_RETURNS_RETAINED;
extern const CFStringRef kCFURLVolumeAvailableCapacityKey;
// Stores a retained object or null in `value`; the caller releases it.
Boolean CFURLCopyResourcePropertyForKey(CFURLRef url, CFStringRef key, void* _Nullable value,
                                        CFErrorRef _Nullable* _Nullable error);
CFStringRef _Nullable CFErrorCopyDescription(CFErrorRef error) CF_RETURNS_RETAINED;

typedef CFStringRef CFCalendarIdentifier;
CFLocaleRef _Nullable CFLocaleCopyCurrent(void) CF_RETURNS_RETAINED;
CFArrayRef _Nullable CFLocaleCopyPreferredLanguages(void) CF_RETURNS_RETAINED;
extern const CFCalendarIdentifier kCFGregorianCalendar;
CFCalendarRef _Nullable CFCalendarCreateWithIdentifier(
    CFAllocatorRef _Nullable allocator, CFCalendarIdentifier identifier) CF_RETURNS_RETAINED;
CFTimeZoneRef _Nullable CFTimeZoneCreateWithTimeIntervalFromGMT(
    CFAllocatorRef _Nullable allocator, CFTimeInterval seconds) CF_RETURNS_RETAINED;

typedef CFIndex CFDateFormatterStyle;
enum : CFDateFormatterStyle { kCFDateFormatterNoStyle = 0 };
typedef CFStringRef CFDateFormatterKey;
extern const CFDateFormatterKey kCFDateFormatterCalendar;
extern const CFDateFormatterKey kCFDateFormatterTimeZone;
CFDateFormatterRef _Nullable CFDateFormatterCreate(
    CFAllocatorRef _Nullable allocator, CFLocaleRef _Nullable locale,
    CFDateFormatterStyle dateStyle, CFDateFormatterStyle timeStyle) CF_RETURNS_RETAINED;
void CFDateFormatterSetFormat(CFDateFormatterRef formatter, CFStringRef format);
void CFDateFormatterSetProperty(CFDateFormatterRef formatter, CFStringRef key, CFTypeRef value);
CFStringRef _Nullable CFDateFormatterCreateStringWithAbsoluteTime(
    CFAllocatorRef _Nullable allocator, CFDateFormatterRef formatter,
    CFAbsoluteTime moment) CF_RETURNS_RETAINED;

typedef CFStringRef CFRunLoopMode;
extern const CFRunLoopMode kCFRunLoopDefaultMode;
typedef SInt32 CFRunLoopRunResult;
enum : CFRunLoopRunResult {
  kCFRunLoopRunFinished = 1,
  kCFRunLoopRunStopped = 2,
  kCFRunLoopRunTimedOut = 3,
  kCFRunLoopRunHandledSource = 4
};
typedef struct {
  CFIndex version;
  void* _Nullable info;
  const void* _Nullable (*_Nullable retain)(const void* _Nullable info);
  void (*_Nullable release)(const void* _Nullable info);
  CFStringRef _Nullable (*_Nullable copyDescription)(const void* _Nullable info);
  Boolean (*_Nullable equal)(const void* _Nullable one, const void* _Nullable other);
  CFHashCode (*_Nullable hash)(const void* _Nullable info);
  void (*_Nullable schedule)(void* _Nullable info, CFRunLoopRef _Nullable loop,
                             CFRunLoopMode _Nullable mode);
  void (*_Nullable cancel)(void* _Nullable info, CFRunLoopRef _Nullable loop,
                           CFRunLoopMode _Nullable mode);
  void (*_Nullable perform)(void* _Nullable info);
} CFRunLoopSourceContext;
CFRunLoopRef _Nullable CFRunLoopGetCurrent(void);
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode _Nullable mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled);
void CFRunLoopWakeUp(CFRunLoopRef _Nullable loop);
void CFRunLoopAddSource(CFRunLoopRef _Nullable loop, CFRunLoopSourceRef _Nullable source,
                        CFRunLoopMode _Nullable mode);
CFRunLoopSourceRef _Nullable CFRunLoopSourceCreate(
    CFAllocatorRef _Nullable allocator, CFIndex order,
    CFRunLoopSourceContext* _Nullable context) CF_RETURNS_RETAINED;
void CFRunLoopSourceInvalidate(CFRunLoopSourceRef _Nullable source);
void CFRunLoopSourceSignal(CFRunLoopSourceRef _Nullable source);

#ifdef __cplusplus
}
#endif

#ifdef __clang__
#pragma clang assume_nonnull end
#endif
