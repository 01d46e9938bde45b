// The kernel's answers by name, as macOS declares them; answered by the stand-ins.
#pragma once
#include <stddef.h>

extern "C" int sysctlbyname(const char* name, void* answer, size_t* size, void* wanted,
                            size_t wantedSize);
