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
QVLVeltrane* QVLVeltrane_initialize(QVLQuorvel* quorvel) QVL_NONNULL(1) QVL_RESULT_NEEDED;

/* The instance that was set up last. Retained; null while there is none. */
QVLVeltrane* QVLVeltrane_instance(void) QVL_RESULT_NEEDED;

/* The locale to search in; null takes it away, an empty text counts as set. */
bool QVLVeltrane_setLumenoLocaleOverride(QVLVeltrane* veltrane, const char* locale,
                                         size_t localeLength) QVL_NONNULL(1);

/* What went wrong with a vote; it only shows in the log, at debug level. */
PELLIX_EXPORT extern const char QVLVeltraneErrorDomain[];
enum QVLVeltraneError {
  /* No article is named. */
  QVLVeltraneErrorMissingArticleId = 1,
  /* This library has no instance. */
  QVLVeltraneErrorNotInitialized = 2,
  /* The knowledge base answered with another status than success. */
  QVLVeltraneErrorRefused = 3
};

/* The sentence for a code; null if there is no such code. Lives as long as the process. */
const char* QVLVeltraneError_textForCode(int64_t code, size_t* length);

/* NOLINTEND(modernize-use-using) */
#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
