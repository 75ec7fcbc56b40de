#pragma once

/*
 * The core library in C: see QVLPlatform.h for the calling rules. Besides:
 *
 * Ending. A process may end at any time, in any way, with operations under way; nothing is called
 * or released any more then. But a host whose language or runtime goes before the process does must
 * not be called meanwhile, and so calls QVLQuorvel_shutDown first: in an exit handler, a shutdown
 * hook, or whatever its language has for that.
 *
 * Forks. Once a process has made a request, a child that is forked from it can make none:
 * operations there end at once, silently, and the log says so once. Nor may it run the main queue
 * if the parent has. Use exec, or fork before.
 */

#include <PellixPlatform/QVLPlatform.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)
/* NOLINTBEGIN(modernize-use-using) */

typedef struct QVLQuorvel QVLQuorvel;
typedef struct QVLQuorvelConfiguration QVLQuorvelConfiguration;

/* What a host may choose when it sets up the core. Retained; to be used by one thread at a time. */
QVLQuorvelConfiguration* QVLQuorvelConfiguration_init(void) QVL_RESULT_NEEDED;

/* The bearer token of all requests that need one. */
bool QVLQuorvelConfiguration_setToken(QVLQuorvelConfiguration* configuration, const char* token,
                                      size_t tokenLength) QVL_NONNULL(1);

/* Supplies the bearer token of one request by QVLTokenReceiver_setToken; if it does not, there is
 * none. Runs on any thread, also on several at once, and should be quick. */
typedef struct QVLTokenReceiver QVLTokenReceiver; /* valid until the supplier returns */
typedef void (*QVLTokenSupplier)(QVLTokenReceiver* receiver, void* context);
bool QVLTokenReceiver_setToken(QVLTokenReceiver* receiver, const char* token, size_t tokenLength)
    QVL_NONNULL(1);

/* Takes the place of a token that was set before. Without a function, there is no token. The
 * context is released when nothing needs the supplier any more: neither the configuration, nor an
 * instance that was made with it, nor a request of one. (The library for answers needs the instance
 * that it was set up with until it is set up for another application.) */
bool QVLQuorvelConfiguration_setTokenSupplier(QVLQuorvelConfiguration* configuration,
                                              QVLTokenSupplier supplier, void* context,
                                              QVLContextRelease release) QVL_NONNULL(1);

/* A file of trusted certificates in PEM, for servers and for proxies over TLS, in place of the
 * system's. */
bool QVLQuorvelConfiguration_setCertificateAuthorities(QVLQuorvelConfiguration* configuration,
                                                       const char* path, size_t pathLength)
    QVL_NONNULL(1);

/* The proxy's address, `[SCHEME://][USER:PASSWORD@]HOST[:PORT]`; empty, as at first: what the
 * environment says when the core is set up. */
bool QVLQuorvelConfiguration_setProxy(QVLQuorvelConfiguration* configuration, const char* address,
                                      size_t addressLength) QVL_NONNULL(1);

/* Whether to pay no attention to what the environment says of proxies. */
void QVLQuorvelConfiguration_setIgnoreProxyEnvironment(QVLQuorvelConfiguration* configuration,
                                                       bool ignore) QVL_NONNULL(1);

/* Limits in milliseconds, from 0 to a year: for a connection to be made, and for a request in all.
 */
void QVLQuorvelConfiguration_setConnectTimeout(QVLQuorvelConfiguration* configuration,
                                               int64_t milliseconds) QVL_NONNULL(1);
void QVLQuorvelConfiguration_setRequestTimeout(QVLQuorvelConfiguration* configuration,
                                               int64_t milliseconds) QVL_NONNULL(1);
/* For the request for a settings document in all: never longer than that for a request in all. */
void QVLQuorvelConfiguration_setSettingsTimeout(QVLQuorvelConfiguration* configuration,
                                                int64_t milliseconds) QVL_NONNULL(1);

/* Whether the secrets of TLS connections are written to the file that SSLKEYLOGFILE names, so that
 * a recording of the traffic can be read: in all configurations of a process or in none, since they
 * share connections. Never in production. */
void QVLQuorvelConfiguration_setLogsTlsSecrets(QVLQuorvelConfiguration* configuration, bool logs)
    QVL_NONNULL(1);

/* How many bytes a reply's body may have. */
void QVLQuorvelConfiguration_setMaxResponseBytes(QVLQuorvelConfiguration* configuration,
                                                 size_t bytes) QVL_NONNULL(1);

/* How long settings are kept before they are fetched anew; less up to a tenth of it at random. */
void QVLQuorvelConfiguration_setSettingsTimeToLive(QVLQuorvelConfiguration* configuration,
                                                   int64_t milliseconds) QVL_NONNULL(1);

/* Sets up the core for an account: `accountUrl` is https, or http to loopback. Retained; null if it
 * can't be set up, and then `error` (may be null) is set to why, retained (null if memory ran out).
 * `configuration` may be null and is not needed any more afterwards. Both identifiers are the
 * host's own and are sent nowhere. The libraries above go by the application's: while it is the
 * same, they stay as they were set up. Nothing goes by the client's. */
QVLQuorvel* QVLQuorvel_initialize(const char* accountUrl, size_t accountUrlLength,
                                  const char* applicationId, size_t applicationIdLength,
                                  const char* clientId, size_t clientIdLength,
                                  const QVLQuorvelConfiguration* configuration,
                                  const QVLError** error) QVL_RESULT_NEEDED;

/* Gets ready, in the background, for what a person is about to ask: the settings that are kept are
 * fetched if they are not at hand (else the account's are asked for once more, at most every five
 * seconds), and a connection to the account's server stands then. What is asked meanwhile joins in.
 * A host calls it when its help screen opens; the first question after it costs one round trip. If
 * it fails, there is one line in the log. It returns at once, and may be called on any thread,
 * again and again; false: there is no memory for it. After QVLQuorvel_shutDown, and in a forked
 * child, it does nothing. */
bool QVLQuorvel_prepare(const QVLQuorvel* quorvel) QVL_NONNULL(1);

/* Why the account's settings could not be fetched the last time that it was tried: retained; null
 * if they could. `time` (may be null) is set to when, in milliseconds since 1970 began (UTC). While
 * there are none to be had, the feature is disabled: this tells a service that can't be reached
 * from settings that say so. */
const QVLError* QVLQuorvel_lastSettingsFailure(const QVLQuorvel* quorvel, int64_t* time)
    QVL_NONNULL(1) QVL_RESULT_NEEDED;

/* Waits until no request is under way, a year at most; whether it came to that. Not for callbacks
 * that run on the worker thread.
 *
 * Callbacks may still wait in the main queue then, and nothing runs it on the thread that waits
 * here. A host whose wake hook passes the word on to a thread or an event loop of its own must not
 * rely on the word having come when this returns: before it takes that loop down, it runs the main
 * queue once more by QVLMainQueue_runPending, and waits again if a callback has started something.
 */
bool QVLQuorvel_waitUntilIdle(const QVLQuorvel* quorvel, int64_t milliseconds) QVL_NONNULL(1);

/* The instance that was set up last. Retained; null while there is none. */
QVLQuorvel* QVLQuorvel_instance(void) QVL_RESULT_NEEDED;

/* Ends every operation of the process. No request goes out any more, and what is under way is let
 * go of. Every callback that waits is released without a call, within this call and on this thread,
 * whatever the host chose for its callbacks, also those in the main queue. Those that run on other
 * threads are waited for, so many milliseconds and a year at most, and so are token suppliers and
 * sinks of the log, unless they run within a call that the host makes. Whether all have ended; what
 * this is called in ends when it returns, and does not count. If they have, suppliers and sinks run
 * only within calls that the host makes, until the core is set up again. Operations that are
 * started later end at once, silently, until QVLQuorvel_initialize has made an instance again. In a
 * forked child this does nothing. It may be called on any thread, also on several at once, again
 * and again, within callbacks, and while the process ends. */
bool QVLQuorvel_shutDown(int64_t milliseconds);

/* ---- The core's errors ----
 *
 * What a server answered is none of them, but for the status of settings that could not be fetched:
 * QVLCoreErrorTransportFailed, with the status in its text. */

PELLIX_EXPORT extern const char QVLCoreErrorDomain[];
enum QVLCoreError {
  /* The account's address is no absolute URL, or says too much. */
  QVLCoreErrorInvalidAccountUrl = 1,
  /* An address is not https, and not loopback either. */
  QVLCoreErrorInsecureUrl = 2,
  /* A bearer token is needed and there is none. */
  QVLCoreErrorMissingToken = 3,
  /* A token or header can't stand in a request. */
  QVLCoreErrorInvalidHeader = 4,
  /* The account details do not come from a core instance. */
  QVLCoreErrorNotInitialized = 5,
  /* The host's name is unknown. */
  QVLCoreErrorCannotResolveHost = 6,
  /* The proxy's name is unknown. */
  QVLCoreErrorCannotResolveProxy = 7,
  /* The host, or the proxy, does not accept a connection. */
  QVLCoreErrorCannotConnect = 8,
  /* A time limit has passed. */
  QVLCoreErrorTimedOut = 9,
  /* The server's certificate is not one to be trusted. */
  QVLCoreErrorUntrustedCertificate = 10,
  /* No secure connection could be set up. */
  QVLCoreErrorSecureConnectionFailed = 11,
  /* The trusted certificates can't be read. */
  QVLCoreErrorUnreadableCertificateStore = 12,
  /* The connection broke before the reply was complete. */
  QVLCoreErrorConnectionLost = 13,
  /* The reply is not proper HTTP. */
  QVLCoreErrorMalformedReply = 14,
  /* The reply is larger than what is accepted. */
  QVLCoreErrorReplyTooLarge = 15,
  /* The proxy refused to pass the request on. */
  QVLCoreErrorProxyFailed = 16,
  /* The request failed in some other way. */
  QVLCoreErrorTransportFailed = 17,
  /* The token would go to another server than the account's. */
  QVLCoreErrorForeignOrigin = 18,
  /* The proxy's address can't be used. */
  QVLCoreErrorInvalidProxy = 19
};

/* The sentence for a code; null if there is no such code. Lives as long as the process. */
const char* QVLCoreError_textForCode(int64_t code, size_t* length);

/* ---- The log ---- */

enum QVLLogLevel {
  QVLLogLevelDebug = 0,
  QVLLogLevelInfo = 1,
  QVLLogLevelWarn = 2,
  QVLLogLevelError = 3,
  QVLLogLevelOff = 4
};

/* Lines below a level are dropped; at first, those below QVLLogLevelWarn. */
void QVLCoreLogger_setLevel(int level);

/* Gets each line of the log, borrowed and not followed by a NUL, on the thread that logs, also on
 * several at once; or on the main queue (QVLMainQueue_takeAllCallbacks), from where
 * QVLQuorvel_shutDown takes lines away unread. Without a function, lines go to standard error. A
 * line that is on its way to the earlier sink still reaches it, and the context is released then. A
 * sink may call the libraries, and what they log within it goes to standard error, warnings and up.
 * But it may be the worker thread that logs, or a thread that the library knows nothing of: so a
 * sink does not call QVLQuorvel_waitUntilIdle, nor does it run the main queue. */
typedef void (*QVLLogSink)(int level, const char* line, size_t lineLength, void* context);
bool QVLCoreLogger_setSink(QVLLogSink sink, void* context, QVLContextRelease release);

/* NOLINTEND(modernize-use-using) */
#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
