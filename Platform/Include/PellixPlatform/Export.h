#pragma once

#if defined(__cplusplus) && __cplusplus <= 202002L && !defined(PELLIX_C_INTERFACE)
// A missing file ends the compilation; after an #error would come hundreds of others.
#include "This library needs C++23: compile with -std=c++23"
#endif

/// Marks what a shared library offers to its users; everything else is hidden.
#define PELLIX_EXPORT __attribute__((visibility("default")))
