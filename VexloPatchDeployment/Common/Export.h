// Marks what the shared library exports; everything else of the module is hidden.
#pragma once

#define VEXLO_EXPORT __attribute__((visibility("default")))
