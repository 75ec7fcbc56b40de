#pragma once

/*
 * The knowledge-base library in C: see QVLPlatform.h for the calling rules.
 */

#include <QuorvelCoreSDK/QVLQuorvelCore.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)
/* NOLINTBEGIN(modernize-use-using) */

typedef struct QVLVeltrane QVLVeltrane;

/* Sets up the library over the core. Retained. */
QVLVeltrane* QVLVeltrane_initialize(QVLQuorvel* quorvel);

/* The locale to search in; null takes it away, an empty text counts as set. */
bool QVLVeltrane_setLumenoLocaleOverride(QVLVeltrane* veltrane, const char* locale,
                                         size_t localeLength);

/* NOLINTEND(modernize-use-using) */
#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
