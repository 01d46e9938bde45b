// System Configuration's console user. See ../../README.md.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef const struct __SCDynamicStore* SCDynamicStoreRef;
// Null if there is no console user; «loginwindow» while the login window is shown.
CFStringRef _Nullable SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef _Nullable store,
                                                    uid_t* _Nullable uid,
                                                    gid_t* _Nullable gid) CF_RETURNS_RETAINED;

#ifdef __cplusplus
}
#endif
