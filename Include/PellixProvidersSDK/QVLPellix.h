#pragma once

/*
 * The library for hosts of every language that can call C: the same operations, step for step, as
 * the C++ interface. Compiles as C11 and as C++.
 *
 * CALLING RULES
 *
 * Names. A function is its class, an underscore and its selector: the colons within become
 * underscores, the last one goes. A list is read by `..._count` and `..._at`.
 *
 * Arguments. First the object, then the selector's arguments in its order. A text is two arguments:
 * its bytes, in UTF-8, and their number, or QVL_UNTIL_NUL for all before the first NUL. The bytes
 * are copied; they may be null if the number is 0. A text may hold NUL. Bytes that are not UTF-8 go
 * the way of the others, as far as they get: a body that holds them can't be encoded, and so its
 * operation ends silently.
 *
 * Null. Not allowed unless a comment says so. Null where it is not allowed, an object of another
 * class, an index out of range, or one QVLRelease too many is a mistake in the host's program: a
 * report on standard error names the function, and the process is aborted.
 *
 * Results. A text is borrowed: a pointer to UTF-8 bytes and, through `length` (may be null), their
 * number; a NUL follows them. It lives as long as the object it was asked of. An object is a
 * pointer, and the same object always is the same pointer.
 *
 * Ownership.
 *  - "retained": the host has a reference, which it gives back with QVLRelease.
 *  - "borrowed": valid as long as the object it was asked of; within a callback, until that
 * returns. QVLRetain makes it retained.
 *  - An object that was asked of another one may outlive it if it is retained itself.
 *
 * Callbacks. A callback is three arguments: a function (may be null: the operation runs all the
 * same), a context that is passed to it last, and a function that releases the context (may be
 * null). The release runs exactly once, whether the callback ran or not, on any thread, when the
 * callback can't run any more: so a host learns from it that an operation has ended, the silent
 * endings included. Only the end of the process can forestall it. What a callback is given is
 * borrowed: retain it to keep it. No callback may throw or jump out of its call.
 *
 * Threads. Any function may be called on any thread, except where a comment says otherwise; objects
 * may be released on any thread, and within callbacks. Results of a provider's operations come on
 * the main queue, which the host runs; the error that says that the feature is disabled comes on
 * the core's worker thread or within the call.
 *
 * Errors. An operation gives its callback an object or an error, never both, never neither. Of the
 * errors' domains, "QV_Pellix_Disabled" (code 1006) says that the feature is disabled for the
 * account, and "com.pellix.providers" has the HTTP status as its code.
 *
 * Memory. No exception leaves a function. When memory runs out, an operation ends silently, a
 * function that makes an object gives null, and a setter gives false and changes nothing. QVLRetain
 * alone, on whose reference the host relies, aborts the process with a report.
 */

#include <PellixProvidersSDK/Version.h>

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define QVL_NORETURN [[noreturn]]
extern "C" {
#else
#define QVL_NORETURN _Noreturn
#endif
#pragma GCC visibility push(default)
/* NOLINTBEGIN(modernize-use-using) */

#define QVL_UNTIL_NUL SIZE_MAX

typedef void QVLObject; /* an object of any of these classes */
typedef struct QVLPellix QVLPellix;
typedef struct QVLPellixProvider QVLPellixProvider;
typedef struct QVLPellixSettingsProvider QVLPellixSettingsProvider;
typedef struct QVLPellixSettings QVLPellixSettings;
typedef struct QVLDeflection QVLDeflection;
typedef struct QVLDeflectionArticle QVLDeflectionArticle;
typedef struct QVLDeflectionResponse QVLDeflectionResponse;
typedef struct QVLPellixDispatcherResponse QVLPellixDispatcherResponse;
typedef struct QVLHTTPURLResponse QVLHTTPURLResponse;
typedef struct QVLError QVLError;
typedef struct QVLQuorvel QVLQuorvel;
typedef struct QVLQuorvelConfiguration QVLQuorvelConfiguration;
typedef struct QVLVeltrane QVLVeltrane;

typedef void (*QVLContextRelease)(void* context);

/* ---- Objects ---- */

/* Adds a reference of the host's. */
void QVLRetain(const QVLObject* object);

/* Gives a reference of the host's back. The object goes with its last owner, within this call if
 * that was the host. */
void QVLRelease(const QVLObject* object);

/* ---- The library's entry ---- */

/* Sets up the library; what goes wrong is logged. `quorvel` may be null: nothing changes then. If
 * the library is set up for the same application identifier already, nothing changes either. Call
 * it on one thread, before any other one calls QVLPellix_instance. */
void QVLPellix_initializeWithQuorvel_veltrane(QVLQuorvel* quorvel, QVLVeltrane* veltrane);

/* Null while the library is not set up. Borrowed until the library is set up for another
 * application. */
const QVLPellix* QVLPellix_instance(void);

/* Borrowed. Operations under way do not keep the provider alive; if it goes, they end silently. */
QVLPellixProvider* QVLPellix_provider(const QVLPellix* pellix);

/* Stops the process. */
QVL_NORETURN void QVLPellix_init(void);

/* ---- The operations ---- */

typedef void (*QVLDeflectionCallback)(const QVLDeflectionResponse* response, const QVLError* error,
                                      void* context);

/* Asks for articles that may answer a person's question, which is sent as it is. */
void QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
    QVLPellixProvider* provider, const char* query, size_t queryLength,
    QVLDeflectionCallback callback, void* context, QVLContextRelease release);

typedef void (*QVLDispatcherCallback)(const QVLPellixDispatcherResponse* response,
                                      const QVLError* error, void* context);

/* Reports that an article resolved the question, and votes for it in the knowledge base.
 * `deflectionId` is the deflection's `deflectionID`, `articleId` the article's `articleId`. */
void QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
    QVLPellixProvider* provider, int64_t deflectionId, int64_t articleId,
    const char* interactionAccessToken, size_t interactionAccessTokenLength,
    QVLDispatcherCallback callback, void* context, QVLContextRelease release);

/* Why an article was rejected. What each reason means is between the account and its answer
 * service. */
typedef int64_t QVLRejectionReason;
enum { QVLRejectionReason0 = 0, QVLRejectionReason1 = 1, QVLRejectionReason2 = 2 };

/* Whether a number is that of a reason; if so, `reason` (may be null) is set to it. */
bool QVLRejectionReason_initWithRawValue(int64_t rawValue, QVLRejectionReason* reason);

/* Reports that an article did not resolve the question. The reason is sent as it is, unchecked. */
void QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
    QVLPellixProvider* provider, int64_t deflectionId, int64_t articleId,
    const char* interactionAccessToken, size_t interactionAccessTokenLength,
    QVLRejectionReason reason, QVLDispatcherCallback callback, void* context,
    QVLContextRelease release);

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
const QVLPellixSettings* QVLPellixSettings_init(void);

/* Whether the feature is switched on for the account. */
bool QVLPellixSettings_enabled(const QVLPellixSettings* settings);

/* ---- What was found ----
 *
 * Equality is that of the content, texts by canonical equivalence. `other` may be null or an object
 * of any class; it is not equal then. */

/* Borrowed, never null. */
const QVLDeflection* QVLDeflectionResponse_deflection(const QVLDeflectionResponse* response);
size_t QVLDeflectionResponse_deflectionArticles_count(const QVLDeflectionResponse* response);
/* Borrowed, never null. */
const QVLDeflectionArticle* QVLDeflectionResponse_deflectionArticles_at(
    const QVLDeflectionResponse* response, size_t index);
/* The token to resolve or reject with: a secret. */
const char* QVLDeflectionResponse_interactionAccessToken(const QVLDeflectionResponse* response,
                                                         size_t* length);
bool QVLDeflectionResponse_isEqual(const QVLDeflectionResponse* response, const QVLObject* other);

int64_t QVLDeflection_deflectionID(const QVLDeflection* deflection);
bool QVLDeflection_isEqual(const QVLDeflection* deflection, const QVLObject* other);

/* The identifier of the proposal; another one than the article's. */
int64_t QVLDeflectionArticle_id(const QVLDeflectionArticle* article);
const char* QVLDeflectionArticle_title(const QVLDeflectionArticle* article, size_t* length);
/* The article's page for people, as received. */
const char* QVLDeflectionArticle_htmlURL(const QVLDeflectionArticle* article, size_t* length);
/* The article's address for programs, as received. */
const char* QVLDeflectionArticle_url(const QVLDeflectionArticle* article, size_t* length);
size_t QVLDeflectionArticle_labelNames_count(const QVLDeflectionArticle* article);
const char* QVLDeflectionArticle_labelNames_at(const QVLDeflectionArticle* article, size_t index,
                                               size_t* length);
/* HTML, as received. */
const char* QVLDeflectionArticle_body(const QVLDeflectionArticle* article, size_t* length);
/* The identifier of the article in the knowledge base: the one to resolve or reject with. */
int64_t QVLDeflectionArticle_articleId(const QVLDeflectionArticle* article);
const char* QVLDeflectionArticle_locale(const QVLDeflectionArticle* article, size_t* length);
int64_t QVLDeflectionArticle_brandId(const QVLDeflectionArticle* article);
/* How well the article answers; more is better. */
double QVLDeflectionArticle_score(const QVLDeflectionArticle* article);
/* HTML, as received. */
const char* QVLDeflectionArticle_snippet(const QVLDeflectionArticle* article, size_t* length);
bool QVLDeflectionArticle_isEqual(const QVLDeflectionArticle* article, const QVLObject* other);
/* Stops the process. */
QVL_NORETURN void QVLDeflectionArticle_init(void);

/* ---- What was answered to a report ---- */

/* Borrowed, never null. */
const QVLHTTPURLResponse* QVLPellixDispatcherResponse_response(
    const QVLPellixDispatcherResponse* response);
/* The body's bytes, borrowed; null if there was no body, which is not the same as an empty one. */
const uint8_t* QVLPellixDispatcherResponse_data(const QVLPellixDispatcherResponse* response,
                                                size_t* length);
bool QVLPellixDispatcherResponse_isEqual(const QVLPellixDispatcherResponse* response,
                                         const QVLObject* other);
/* Stops the process. */
QVL_NORETURN void QVLPellixDispatcherResponse_init(void);

int64_t QVLHTTPURLResponse_statusCode(const QVLHTTPURLResponse* response);
/* The address that answered. */
const char* QVLHTTPURLResponse_url(const QVLHTTPURLResponse* response, size_t* length);
/* The value of a header field, found without regard to case; null if there is none. */
const char* QVLHTTPURLResponse_valueForHeaderField(const QVLHTTPURLResponse* response,
                                                   const char* name, size_t nameLength,
                                                   size_t* length);
/* Every header field once, ordered by name. */
size_t QVLHTTPURLResponse_allHeaderFields_count(const QVLHTTPURLResponse* response);
const char* QVLHTTPURLResponse_allHeaderFields_nameAt(const QVLHTTPURLResponse* response,
                                                      size_t index, size_t* length);
const char* QVLHTTPURLResponse_allHeaderFields_valueAt(const QVLHTTPURLResponse* response,
                                                       size_t index, size_t* length);
bool QVLHTTPURLResponse_isEqual(const QVLHTTPURLResponse* response, const QVLObject* other);

/* ---- What went wrong ---- */

const char* QVLError_domain(const QVLError* error, size_t* length);
int64_t QVLError_code(const QVLError* error);
/* One line for people. */
const char* QVLError_localizedDescription(const QVLError* error, size_t* length);
/* The user info, ordered by key. Each value is a text or an integer. */
size_t QVLError_userInfo_count(const QVLError* error);
const char* QVLError_userInfo_keyAt(const QVLError* error, size_t index, size_t* length);
/* The text under a key; null if there is none. */
const char* QVLError_userInfo_textForKey(const QVLError* error, const char* key, size_t keyLength,
                                         size_t* length);
/* Whether there is an integer under a key; if so, `value` (may be null) is set to it. */
bool QVLError_userInfo_integerForKey(const QVLError* error, const char* key, size_t keyLength,
                                     int64_t* value);

/* ---- The core library ---- */

/* What a host may choose when it sets up the core. Retained; to be used by one thread at a time. */
QVLQuorvelConfiguration* QVLQuorvelConfiguration_init(void);

/* The bearer token of all requests that need one. */
bool QVLQuorvelConfiguration_setToken(QVLQuorvelConfiguration* configuration, const char* token,
                                      size_t tokenLength);

/* Supplies the bearer token of one request by QVLTokenReceiver_setToken; if it does not, there is
 * none. Runs on any thread, also on several at once, and should be quick. */
typedef struct QVLTokenReceiver QVLTokenReceiver; /* valid until the supplier returns */
typedef void (*QVLTokenSupplier)(QVLTokenReceiver* receiver, void* context);
bool QVLTokenReceiver_setToken(QVLTokenReceiver* receiver, const char* token, size_t tokenLength);

/* Takes the place of a token that was set before. Without a function, there is no token. */
bool QVLQuorvelConfiguration_setTokenSupplier(QVLQuorvelConfiguration* configuration,
                                              QVLTokenSupplier supplier, void* context,
                                              QVLContextRelease release);

/* A file of trusted certificates in PEM, in place of the system's. */
bool QVLQuorvelConfiguration_setCertificateAuthorities(QVLQuorvelConfiguration* configuration,
                                                       const char* path, size_t pathLength);

/* Sets up the core for an account: `accountUrl` is https, or http to loopback. Retained; null if it
 * can't be set up, and then `error` (may be null) is set to why, retained (null if memory ran out).
 * `configuration` may be null and is not needed any more afterwards. */
QVLQuorvel* QVLQuorvel_initialize(const char* accountUrl, size_t accountUrlLength,
                                  const char* applicationId, size_t applicationIdLength,
                                  const char* clientId, size_t clientIdLength,
                                  const QVLQuorvelConfiguration* configuration,
                                  const QVLError** error);

/* Waits until no request is under way, a year at most; whether it came to that. Callbacks may still
 * wait in the main queue then. Not for callbacks that run on the worker thread. */
bool QVLQuorvel_waitUntilIdle(const QVLQuorvel* quorvel, int64_t milliseconds);

enum {
  QVLLogLevelDebug = 0,
  QVLLogLevelInfo = 1,
  QVLLogLevelWarn = 2,
  QVLLogLevelError = 3,
  QVLLogLevelOff = 4
};

/* Lines below a level are dropped; at first, those below QVLLogLevelWarn. */
void QVLCoreLogger_setLevel(int level);

/* Gets each line of the log, borrowed and not followed by a NUL, on the thread that logs, also on
 * several at once. Without a function, lines go to standard error. */
typedef void (*QVLLogSink)(int level, const char* line, size_t lineLength, void* context);
bool QVLCoreLogger_setSink(QVLLogSink sink, void* context, QVLContextRelease release);

/* ---- The knowledge-base library ---- */

/* Sets up the library over the core. Retained. */
QVLVeltrane* QVLVeltrane_initialize(QVLQuorvel* quorvel);

/* The locale to search in; null takes it away, an empty text counts as set. */
bool QVLVeltrane_setLumenoLocaleOverride(QVLVeltrane* veltrane, const char* locale,
                                         size_t localeLength);

/* ---- The main queue ----
 *
 * The host runs it: either by QVLMainQueue_run, on a thread that has nothing else to do, or by
 * QVLMainQueue_runPending out of its own event loop. One thread at a time; within a callback, too.
 */

/* Runs what comes until QVLMainQueue_stop is called. */
void QVLMainQueue_run(void);

/* Runs what waits now. */
void QVLMainQueue_runPending(void);

/* Makes QVLMainQueue_run return; the next one, if none runs. */
void QVLMainQueue_stop(void);

/* Called, on any thread, when there is something to run: it should only wake the host's loop.
 * Without a function, there is none; a call of the earlier one may still be under way then. */
typedef void (*QVLWakeHook)(void* context);
bool QVLMainQueue_setWakeHook(QVLWakeHook hook, void* context, QVLContextRelease release);

/* ---- Resources ---- */

/* Puts a directory in the place of the resources that the library carries. To be called before
 * anything else; false, and nothing changes, also if there is no such directory. */
bool QVLBundle_setResourceDirectory(const char* path, size_t pathLength);

/* NOLINTEND(modernize-use-using) */
#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
