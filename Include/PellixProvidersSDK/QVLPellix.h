#pragma once

/*
 * The library for hosts of every language that can call C: the same operations, step for step, as
 * the C++ interface. Includes the C interfaces of the libraries below; QVLPlatform.h begins with
 * the calling rules, which hold here too. Besides:
 *
 * Threads. Results of a provider's operations come on the main queue, which the host runs; the
 * error that says that the feature is disabled comes on the core's worker thread or within the
 * call, unless the host has called QVLMainQueue_takeAllCallbacks.
 *
 * Errors. Those of the core and of decoding are passed on; this library has two domains of its own.
 */

#include <PellixPlatform/QVLPlatform.h>
#include <PellixProvidersSDK/Version.h>
#include <QuorvelCoreSDK/QVLQuorvelCore.h>
#include <VeltraneProvidersSDK/QVLVeltrane.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)
/* NOLINTBEGIN(modernize-use-using) */

typedef struct QVLPellix QVLPellix;
typedef struct QVLPellixProvider QVLPellixProvider;
typedef struct QVLPellixSettingsProvider QVLPellixSettingsProvider;
typedef struct QVLPellixSettings QVLPellixSettings;
typedef struct QVLDeflection QVLDeflection;
typedef struct QVLDeflectionArticle QVLDeflectionArticle;
typedef struct QVLDeflectionResponse QVLDeflectionResponse;
typedef struct QVLPellixDispatcherResponse QVLPellixDispatcherResponse;

/* ---- The library's entry ---- */

/* Sets up the library; what goes wrong is logged. `quorvel` may be null: nothing changes then,
 * whatever `veltrane` is. If the library is set up for the same application identifier already,
 * nothing changes either: questions and reports go on with the earlier instance's address and
 * token, the account's settings with those of the core's latest instance, and the knowledge base's
 * settings and votes with those of the core that the latest `veltrane` was set up over. So a host
 * that changes its account, or its options, gives each an application identifier of its own. Call
 * it on one thread, before any other one calls QVLPellix_instance. */
void QVLPellix_initializeWithQuorvel_veltrane(QVLQuorvel* quorvel, QVLVeltrane* veltrane);

/* Null while the library is not set up. Borrowed until the library is set up for another
 * application. */
const QVLPellix* QVLPellix_instance(void);

/* Borrowed. Operations under way do not keep the provider alive; if it goes, they end silently. */
QVLPellixProvider* QVLPellix_provider(const QVLPellix* pellix) QVL_NONNULL(1);

/* Stops the process. */
QVL_NORETURN void QVLPellix_init(void);

/* The version that the library's requests carry: writes it, cut off if need be, with a NUL into
 * `capacity` bytes (none are needed if that is 0), and gives its whole length. */
size_t QVLPellix_version(char* bytes, size_t capacity);

/* The feature is disabled for the account. */
PELLIX_EXPORT extern const char QVLPellixDisabledErrorDomain[];
enum QVLPellixDisabledError { QVLPellixDisabledErrorCode = 1006 };

/* The sentence for a code; null if there is no such code. Lives as long as the process. */
const char* QVLPellixDisabledError_textForCode(int64_t code, size_t* length);

/* The service answered with a status outside 200 to 299, which is the code. Under the key, a text
 * repeats it. */
PELLIX_EXPORT extern const char QVLPellixErrorDomain[];
PELLIX_EXPORT extern const char QVLPellixErrorStatusCodeKey[];

/* What a status means; `Unknown status` if it is none. Lives as long as the process. */
const char* QVLPellixError_textForCode(int64_t code, size_t* length);

/* ---- The operations ---- */

typedef void (*QVLDeflectionCallback)(const QVLDeflectionResponse* response, const QVLError* error,
                                      void* context);

/* Asks for articles that may answer a person's question, which is sent as it is. */
void QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
    QVLPellixProvider* provider, const char* query, size_t queryLength,
    QVLDeflectionCallback callback, void* context, QVLContextRelease release) QVL_NONNULL(1);

typedef void (*QVLDispatcherCallback)(const QVLPellixDispatcherResponse* response,
                                      const QVLError* error, void* context);

/* Reports that an article resolved the question, and votes for it in the knowledge base.
 * `deflectionId` is the deflection's `deflectionID`, `articleId` the article's `articleId`. */
void QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
    QVLPellixProvider* provider, int64_t deflectionId, int64_t articleId,
    const char* interactionAccessToken, size_t interactionAccessTokenLength,
    QVLDispatcherCallback callback, void* context, QVLContextRelease release) QVL_NONNULL(1);

/* Why an article was rejected. What each reason means is between the account and its answer
 * service. */
typedef int64_t QVLRejectionReason;
enum QVLRejectionReasonValue {
  QVLRejectionReason0 = 0,
  QVLRejectionReason1 = 1,
  QVLRejectionReason2 = 2
};

/* Whether a number is that of a reason; if so, `reason` (may be null) is set to it. */
bool QVLRejectionReason_initWithRawValue(int64_t rawValue, QVLRejectionReason* reason);

/* Reports that an article did not resolve the question. The reason is sent as it is, unchecked. */
void QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
    QVLPellixProvider* provider, int64_t deflectionId, int64_t articleId,
    const char* interactionAccessToken, size_t interactionAccessTokenLength,
    QVLRejectionReason reason, QVLDispatcherCallback callback, void* context,
    QVLContextRelease release) QVL_NONNULL(1);

/* Stops the process. */
QVL_NORETURN void QVLPellixProvider_init(void);

/* ---- Settings ---- */

typedef void (*QVLSettingsCallback)(const QVLPellixSettings* settings, void* context);

/* Asks for the account's settings for this library. The callback runs within this call or on the
 * core's worker thread; `settings` may be null. Without a core instance it does not run. */
void QVLPellixSettingsProvider_getSettingsWithCallback(QVLSettingsCallback callback, void* context,
                                                       QVLContextRelease release);

/* Stops the process. */
QVL_NORETURN void QVLPellixSettingsProvider_init(void);

/* Settings that say that the feature is disabled. Retained. */
const QVLPellixSettings* QVLPellixSettings_init(void) QVL_RESULT_NEEDED;

/* Whether the feature is switched on for the account. */
bool QVLPellixSettings_enabled(const QVLPellixSettings* settings) QVL_NONNULL(1);

/* ---- What was found ----
 *
 * Equality is that of the content, texts by canonical equivalence. `other` may be null or an object
 * of any class; it is not equal then. */

/* Borrowed, never null. */
const QVLDeflection* QVLDeflectionResponse_deflection(const QVLDeflectionResponse* response)
    QVL_NONNULL(1);
size_t QVLDeflectionResponse_deflectionArticles_count(const QVLDeflectionResponse* response)
    QVL_NONNULL(1);
/* Borrowed, never null. */
const QVLDeflectionArticle* QVLDeflectionResponse_deflectionArticles_at(
    const QVLDeflectionResponse* response, size_t index) QVL_NONNULL(1);
/* The token to resolve or reject with: a secret. */
const char* QVLDeflectionResponse_interactionAccessToken(const QVLDeflectionResponse* response,
                                                         size_t* length) QVL_NONNULL(1);
bool QVLDeflectionResponse_isEqual(const QVLDeflectionResponse* response, const QVLObject* other)
    QVL_NONNULL(1);

int64_t QVLDeflection_deflectionID(const QVLDeflection* deflection) QVL_NONNULL(1);
bool QVLDeflection_isEqual(const QVLDeflection* deflection, const QVLObject* other) QVL_NONNULL(1);

/* The identifier of the proposal; another one than the article's. */
int64_t QVLDeflectionArticle_id(const QVLDeflectionArticle* article) QVL_NONNULL(1);
const char* QVLDeflectionArticle_title(const QVLDeflectionArticle* article, size_t* length)
    QVL_NONNULL(1);
/* The article's page for people, as received. */
const char* QVLDeflectionArticle_htmlURL(const QVLDeflectionArticle* article, size_t* length)
    QVL_NONNULL(1);
/* The article's address for programs, as received. */
const char* QVLDeflectionArticle_url(const QVLDeflectionArticle* article, size_t* length)
    QVL_NONNULL(1);
size_t QVLDeflectionArticle_labelNames_count(const QVLDeflectionArticle* article) QVL_NONNULL(1);
const char* QVLDeflectionArticle_labelNames_at(const QVLDeflectionArticle* article, size_t index,
                                               size_t* length) QVL_NONNULL(1);
/* HTML, as received. */
const char* QVLDeflectionArticle_body(const QVLDeflectionArticle* article, size_t* length)
    QVL_NONNULL(1);
/* The identifier of the article in the knowledge base: the one to resolve or reject with. */
int64_t QVLDeflectionArticle_articleId(const QVLDeflectionArticle* article) QVL_NONNULL(1);
const char* QVLDeflectionArticle_locale(const QVLDeflectionArticle* article, size_t* length)
    QVL_NONNULL(1);
int64_t QVLDeflectionArticle_brandId(const QVLDeflectionArticle* article) QVL_NONNULL(1);
/* How well the article answers; more is better. */
double QVLDeflectionArticle_score(const QVLDeflectionArticle* article) QVL_NONNULL(1);
/* HTML, as received. */
const char* QVLDeflectionArticle_snippet(const QVLDeflectionArticle* article, size_t* length)
    QVL_NONNULL(1);
bool QVLDeflectionArticle_isEqual(const QVLDeflectionArticle* article, const QVLObject* other)
    QVL_NONNULL(1);
/* Stops the process. */
QVL_NORETURN void QVLDeflectionArticle_init(void);

/* ---- What was answered to a report ---- */

/* Borrowed, never null. */
const QVLHTTPURLResponse* QVLPellixDispatcherResponse_response(
    const QVLPellixDispatcherResponse* response) QVL_NONNULL(1);
/* The body's bytes, borrowed; null if there was no body, which is not the same as an empty one. */
const uint8_t* QVLPellixDispatcherResponse_data(const QVLPellixDispatcherResponse* response,
                                                size_t* length) QVL_NONNULL(1);
bool QVLPellixDispatcherResponse_isEqual(const QVLPellixDispatcherResponse* response,
                                         const QVLObject* other) QVL_NONNULL(1);
/* Stops the process. */
QVL_NORETURN void QVLPellixDispatcherResponse_init(void);

/* NOLINTEND(modernize-use-using) */
#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
