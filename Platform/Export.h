// Marks what the shared library exports; everything else is hidden.
#pragma once

#define VEXLO_EXPORT __attribute__((visibility("default")))
/// For private members of an exported class.
#define VEXLO_HIDDEN __attribute__((visibility("hidden")))
