// The power sources of IOKit. See ../../../README.md.
#pragma once
#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

CFTypeRef _Nullable IOPSCopyPowerSourcesInfo(void) CF_RETURNS_RETAINED;
CFArrayRef _Nullable IOPSCopyPowerSourcesList(CFTypeRef _Nullable info) CF_RETURNS_RETAINED;
// Owned by `info`; null if `source` is not in its list.
CFDictionaryRef _Nullable IOPSGetPowerSourceDescription(CFTypeRef _Nullable info,
                                                        CFTypeRef _Nullable source);

#ifdef __cplusplus
}
#endif
