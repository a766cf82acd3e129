// The process-wide debug hook, for hosts in C and in C++.
#pragma once

#include "bx/export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Sets the hook to a function that does nothing: `hook` is neither kept nor called, whatever it is, and no log text
// ever reaches it. It is kept for hosts that call it at start-up. Must not run while another thread uses the library.
BX_DEVICE_API void SetDebugFunction(void (*hook)(const char*));

#ifdef __cplusplus
}
#endif
