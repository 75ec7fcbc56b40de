#pragma once

/*
 * The platform for hosts of every language that can call C, and the rules that the C interfaces of
 * all four libraries share. Compiles as C11 and as C++.
 *
 * CALLING RULES
 *
 * Names. A function is its class, an underscore and its selector: the colons within become
 * underscores, the last one goes. A list is read by `..._count` and `..._at`.
 *
 * Arguments. First the object, then the selector's arguments in its order. A text is two arguments:
 * its bytes, in UTF-8, and their number, or QVL_UNTIL_NUL for all before the first NUL. The bytes
 * are copied; they may be null if the number is 0. A text may hold NUL; a path that does is refused
 * (false). Bytes that are not UTF-8 go
 * the way of the others, as far as they get: a body that holds them can't be encoded, and so its
 * operation ends silently.
 *
 * Null. Not allowed unless a comment says so. Null where it is not allowed, an object of another
 * class, an index out of range, a text longer than PTRDIFF_MAX, or one QVLRelease too many is a
 * mistake in the host's program: a report on standard error names the function, and the process is
 * aborted. (A release too many goes unseen where a new object that the host retains has got the
 * address of the one that is gone.)
 *
 * Results. A text is borrowed: a pointer to UTF-8 bytes and, through `length` (may be null), their
 * number; a NUL follows them. Header fields alone are whatever bytes the server sent, UTF-8 or not.
 * A text lives as long as the object it was asked of. An object is a pointer, and the same object
 * always is the same pointer.
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
 * callback's last call has returned and none can come any more: so a host learns from it that an
 * operation has ended, the silent endings included, and that a hook, a sink or a supplier can go,
 * to which a call may still be on its way when another one takes its place. Only the end of the
 * process can forestall it. What a callback is given is borrowed: retain it to keep it. No callback
 * may throw or jump out of its call. For a language that only the thread of its own may call,
 * QVLMainQueue_takeAllCallbacks has callbacks and releases come on the main queue alone.
 *
 * Threads. Any function may be called on any thread, except where a comment says otherwise; objects
 * may be released on any thread, and within callbacks.
 *
 * Errors. An operation gives its callback an object or an error, never both, never neither.
 *
 * Memory. No exception leaves a function. When memory runs out, an operation ends silently, a
 * function that makes an object gives null, and a setter gives false and changes nothing. QVLRetain
 * alone, on whose reference the host relies, aborts the process with a report.
 */

#define PELLIX_C_INTERFACE /* for which no C++ is too old */
#include <PellixPlatform/Export.h>

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* What compilers can check of these rules. Not while the libraries themselves are built, whose own
 * checks would be taken for needless then. */
#if defined(__GNUC__) && !defined(PELLIX_BUILDS_ITSELF)
#define QVL_NONNULL(...) __attribute__((nonnull(__VA_ARGS__)))
#define QVL_RESULT_NEEDED __attribute__((warn_unused_result))
#else
#define QVL_NONNULL(...)
#define QVL_RESULT_NEEDED
#endif
#if defined(__GNUC__)
#define QVL_NORETURN __attribute__((noreturn))
#else
#define QVL_NORETURN
#endif

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)
/* NOLINTBEGIN(modernize-use-using) */

#define QVL_UNTIL_NUL SIZE_MAX

typedef void QVLObject; /* an object of any class */
typedef struct QVLHTTPURLResponse QVLHTTPURLResponse;
typedef struct QVLError QVLError;

typedef void (*QVLContextRelease)(void* context);

/* ---- Objects ---- */

/* Adds a reference of the host's. */
void QVLRetain(const QVLObject* object) QVL_NONNULL(1);

/* Gives a reference of the host's back. The object goes with its last owner, within this call if
 * that was the host. */
void QVLRelease(const QVLObject* object) QVL_NONNULL(1);

/* How many references the host has, of all objects together: none are left when a host that leaks
 * nothing has released what it retained. */
size_t QVLLiveReferences(void);

/* ---- The libraries ---- */

/* The version of the binary interface that the loaded libraries have. A host that was made for
 * another one can't use them. */
int64_t QVLABIVersion(void);

/* Gets each report of a mistake in the host's program before the process is aborted, on the thread
 * that made it: for crash reporters. It may end the process itself. Without a function, there is
 * none. */
typedef void (*QVLFatalErrorHandler)(const char* report, size_t reportLength, void* context);
bool QVLFatalError_setHandler(QVLFatalErrorHandler handler, void* context,
                              QVLContextRelease release);

/* ---- What went wrong ---- */

const char* QVLError_domain(const QVLError* error, size_t* length) QVL_NONNULL(1);
int64_t QVLError_code(const QVLError* error) QVL_NONNULL(1);
/* One line for people. */
const char* QVLError_localizedDescription(const QVLError* error, size_t* length) QVL_NONNULL(1);
/* The user info, ordered by key. Each value is a text or an integer. */
size_t QVLError_userInfo_count(const QVLError* error) QVL_NONNULL(1);
const char* QVLError_userInfo_keyAt(const QVLError* error, size_t index, size_t* length)
    QVL_NONNULL(1);
/* The text under a key; null if there is none. */
const char* QVLError_userInfo_textForKey(const QVLError* error, const char* key, size_t keyLength,
                                         size_t* length) QVL_NONNULL(1);
/* Whether there is an integer under a key; if so, `value` (may be null) is set to it. */
bool QVLError_userInfo_integerForKey(const QVLError* error, const char* key, size_t keyLength,
                                     int64_t* value) QVL_NONNULL(1);

/* The key of one sentence for people. */
PELLIX_EXPORT extern const char QVLLocalizedDescriptionKey[];

/* A document could not be decoded. */
PELLIX_EXPORT extern const char QVLDecodingErrorDomain[];
enum QVLDecodingError {
  /* A required key is missing. */
  QVLDecodingErrorKeyNotFound = 1,
  /* A required value is null. */
  QVLDecodingErrorValueIsNull = 2,
  /* The value is of another type. */
  QVLDecodingErrorTypeMismatch = 3,
  /* The number has a fraction or is out of range. */
  QVLDecodingErrorNumberDoesNotFit = 4,
  /* The document is not well formed. */
  QVLDecodingErrorDataCorrupted = 5
};
/* The keys that say where: a text as `articles[1].title` (none where the whole document is meant),
 * two integers, counted from 1 and from 0, and, where they apply, what was wanted and what is
 * there.
 */
PELLIX_EXPORT extern const char QVLDecodingErrorCodingPathKey[];
PELLIX_EXPORT extern const char QVLDecodingErrorLineKey[];
PELLIX_EXPORT extern const char QVLDecodingErrorByteKey[];
PELLIX_EXPORT extern const char QVLDecodingErrorExpectedKey[];
PELLIX_EXPORT extern const char QVLDecodingErrorFoundKey[];

/* The sentence for a code; null if there is no such code. Lives as long as the process. */
const char* QVLDecodingError_textForCode(int64_t code, size_t* length);

/* A record could not be encoded: the operation ends silently, and standard output says why. */
PELLIX_EXPORT extern const char QVLEncodingErrorDomain[];
enum QVLEncodingError {
  /* A text is not valid UTF-8. */
  QVLEncodingErrorInvalidText = 1,
  /* A number is not finite. */
  QVLEncodingErrorInvalidNumber = 2
};

/* The sentence for a code; null if there is no such code. Lives as long as the process. */
const char* QVLEncodingError_textForCode(int64_t code, size_t* length);

/* A file could not be read. The codes are the system's, as in `errno.h`. */
PELLIX_EXPORT extern const char QVLFileErrorDomain[];

/* The sentence for a code; null if there is no such code. Lives as long as the process. */
const char* QVLFileError_textForCode(int64_t code, size_t* length);

/* ---- What a server answered ---- */

int64_t QVLHTTPURLResponse_statusCode(const QVLHTTPURLResponse* response) QVL_NONNULL(1);
/* The address that answered. */
const char* QVLHTTPURLResponse_url(const QVLHTTPURLResponse* response, size_t* length)
    QVL_NONNULL(1);
/* The value of a header field, found without regard to case; null if there is none. Its bytes need
 * not be UTF-8. */
const char* QVLHTTPURLResponse_valueForHeaderField(const QVLHTTPURLResponse* response,
                                                   const char* name, size_t nameLength,
                                                   size_t* length) QVL_NONNULL(1);
/* Every header field once, ordered by name; their bytes need not be UTF-8. */
size_t QVLHTTPURLResponse_allHeaderFields_count(const QVLHTTPURLResponse* response) QVL_NONNULL(1);
const char* QVLHTTPURLResponse_allHeaderFields_nameAt(const QVLHTTPURLResponse* response,
                                                      size_t index, size_t* length) QVL_NONNULL(1);
const char* QVLHTTPURLResponse_allHeaderFields_valueAt(const QVLHTTPURLResponse* response,
                                                       size_t index, size_t* length) QVL_NONNULL(1);
/* What a status means; `Unknown status` if it is none. Lives as long as the process. */
const char* QVLHTTPURLResponse_localizedStringForStatusCode(int64_t statusCode, size_t* length);
bool QVLHTTPURLResponse_isEqual(const QVLHTTPURLResponse* response, const QVLObject* other)
    QVL_NONNULL(1);

/* ---- The main queue ----
 *
 * The host runs it: either by QVLMainQueue_run or QVLMainQueue_runFor, on a thread that has nothing
 * else to do, or by QVLMainQueue_runPending out of its own event loop. One thread at a time; within
 * a callback, too.
 *
 * A child that is forked from a process that has run the queue, or waits in it, must not run it
 * itself: it could wait for ever.
 */

/* Runs what comes until QVLMainQueue_stop is called. */
void QVLMainQueue_run(void);

/* The same, but for so many milliseconds at most; whether anything ran. If callbacks wait
 * already, the first one runs whatever the time. */
bool QVLMainQueue_runFor(int64_t milliseconds);

/* Runs what waits now. */
void QVLMainQueue_runPending(void);

/* Makes QVLMainQueue_run return; the next one, if none runs. */
void QVLMainQueue_stop(void);

/* Has every callback come, and every context be released, on the main queue alone, for the rest of
 * the process; the lines of the log included. It must be called before any callback is given, or
 * null in place of one: later, it is a mistake of the host's. What can't wait comes where it always
 * did: a wake hook, a token supplier, the reports of mistakes. A host that can't be called there
 * gives functions in C for these, or none. QVLQuorvel_shutDown releases contexts on the thread that
 * calls it all the same. */
bool QVLMainQueue_takeAllCallbacks(void);

/* Called, on any thread, when there is something to run: it should only wake the host's loop.
 * Without a function, there is none; a call of the earlier one may still be under way then, until
 * its context is released. */
typedef void (*QVLWakeHook)(void* context);
bool QVLMainQueue_setWakeHook(QVLWakeHook hook, void* context, QVLContextRelease release);

/* ---- Resources ---- */

/* Puts a directory in the place of the resources that a library carries. To be called before
 * anything else; false, and nothing changes, also if there is no such directory. */
bool QVLBundle_setResourceDirectory(const char* path, size_t pathLength);

/* ---- Languages ---- */

/* The person's languages as BCP 47 tags, each up to its NUL, most preferred first, in place of what
 * the environment says. Null: the environment's again. */
bool QVLLocale_setPreferredLanguages(const char* const* languages, size_t count);

/* NOLINTEND(modernize-use-using) */
#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
