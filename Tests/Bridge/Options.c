/*
 * A host in C that makes choices, asks a question, and says what came of them.
 *
 *   COptions ACCOUNT_URL [CHOICE VALUE]...
 */
#define _POSIX_C_SOURCE 200809L

#include <PellixProvidersSDK/QVLPellix.h>

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

typedef QVLQuorvelConfiguration Configuration;

static const struct {
  const char* name;
  bool (*set)(Configuration* configuration, const char* text, size_t length);
} texts[] = {{"token", QVLQuorvelConfiguration_setToken},
             {"certificateAuthorities", QVLQuorvelConfiguration_setCertificateAuthorities},
             {"proxy", QVLQuorvelConfiguration_setProxy}};

static const struct {
  const char* name;
  void (*set)(Configuration* configuration, int64_t milliseconds);
} limits[] = {{"connectTimeout", QVLQuorvelConfiguration_setConnectTimeout},
              {"requestTimeout", QVLQuorvelConfiguration_setRequestTimeout},
              {"settingsTimeout", QVLQuorvelConfiguration_setSettingsTimeout},
              {"settingsTimeToLive", QVLQuorvelConfiguration_setSettingsTimeToLive}};

static const struct {
  const char* name;
  void (*set)(Configuration* configuration, bool value);
} flags[] = {{"ignoreProxyEnvironment", QVLQuorvelConfiguration_setIgnoreProxyEnvironment},
             {"logsTlsSecrets", QVLQuorvelConfiguration_setLogsTlsSecrets}};

static void supply(QVLTokenReceiver* receiver, void* token) {
  if (strcmp(token, "none") == 0) return;
  if (!QVLTokenReceiver_setToken(receiver, token, QVL_UNTIL_NUL)) exit(8);
}

static void forget(void* token) {
  printf("; %s forgotten", (const char*)token);
}

static const char* localeOverride;

static void choose(Configuration* at, const char* name, char* value) {
  char text[4096]; /* with more behind it */
  snprintf(text, sizeof text, "%s and more", value);
  for (size_t i = 0; i < sizeof texts / sizeof *texts; ++i) {
    if (!strcmp(name, texts[i].name) && !texts[i].set(at, text, strlen(value))) exit(8);
  }
  for (size_t i = 0; i < sizeof limits / sizeof *limits; ++i) {
    if (!strcmp(name, limits[i].name)) limits[i].set(at, atoll(value));
  }
  for (size_t i = 0; i < sizeof flags / sizeof *flags; ++i) {
    if (!strcmp(name, flags[i].name)) flags[i].set(at, !strcmp(value, "true"));
  }
  if (!strcmp(name, "maxResponseBytes")) {
    QVLQuorvelConfiguration_setMaxResponseBytes(at, (size_t)atoll(value));
  }
  if (!strcmp(name, "supplier")) {
    QVLTokenSupplier supplier = *value ? supply : NULL;
    if (!QVLQuorvelConfiguration_setTokenSupplier(at, supplier, value, forget)) exit(8);
  }
  if (!strcmp(name, "language")) QVLLocale_setPreferredLanguages((const char**)&value, 1);
  if (!strcmp(name, "localeOverride")) localeOverride = value;
}

static void say(const char* before, const QVLError* error) {
  printf("%s%s %" PRId64, before, QVLError_domain(error, NULL), QVLError_code(error));
}

static void finish(const QVLDeflectionResponse* response, const QVLError* error, void* context) {
  (void)context;
  if (error) {
    say("", error);
  } else {
    const QVLDeflectionArticle* first = QVLDeflectionResponse_deflectionArticles_at(response, 0);
    printf("an article in %s", QVLDeflectionArticle_locale(first, NULL));
  }
}

static void stop(void* context) {
  (void)context;
  QVLMainQueue_stop();
}

static _Thread_local bool areSettingsHere;

static void noteSettings(const QVLPellixSettings* settings, void* context) {
  (void)context;
  areSettingsHere = settings != NULL;
}

static QVLQuorvel* setUp(const char* url, const char* application, const Configuration* at) {
  const QVLError* error = NULL;
  QVLQuorvel* quorvel = QVLQuorvel_initialize(url, QVL_UNTIL_NUL, application, QVL_UNTIL_NUL,
                                              "client", QVL_UNTIL_NUL, at, &error);
  if (!quorvel) {
    say("", error);
    exit(EXIT_SUCCESS);
  }
  QVLVeltrane* veltrane = QVLVeltrane_initialize(quorvel);
  if (localeOverride) {
    QVLVeltrane_setLumenoLocaleOverride(veltrane, localeOverride, QVL_UNTIL_NUL);
  }
  QVLPellix_initializeWithQuorvel_veltrane(quorvel, veltrane);
  QVLQuorvel* sharedQuorvel = QVLQuorvel_instance();
  QVLVeltrane* sharedVeltrane = QVLVeltrane_instance();
  if (sharedQuorvel != quorvel || sharedVeltrane != veltrane) exit(3);
  QVLRelease(sharedVeltrane);
  QVLRelease(sharedQuorvel);
  QVLRelease(veltrane);
  return quorvel;
}

static void sayWhatCame(const QVLQuorvel* quorvel) {
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      QVLPellix_provider(QVLPellix_instance()), "Passwort password", QVL_UNTIL_NUL, finish, NULL,
      stop);
  QVLMainQueue_runFor(9000); /* shorter than the library's own limits */
  int64_t milliseconds = 0;
  const QVLError* failure = QVLQuorvel_lastSettingsFailure(quorvel, &milliseconds);
  if (failure) {
    say(" for ", failure);
    QVLRelease(failure);
    if (llabs(milliseconds / 1000 - (int64_t)time(NULL)) > 60) exit(4);
  }
  QVLPellixSettingsProvider_getSettingsWithCallback(noteSettings, NULL, NULL);
  if (areSettingsHere) printf(", settings kept");
  struct stat log;
  if (stat(getenv("SSLKEYLOGFILE"), &log) == 0 && log.st_size > 0) printf(", secrets logged");
}

static void leave(const char* report, size_t length, void* context) {
  exit(strncmp(report, context, length) != 0);
}

int main(int argc, char** argv) {
  Configuration* configuration = QVLQuorvelConfiguration_init();
  for (int i = 2; i + 1 < argc; i += 2) choose(configuration, argv[i], argv[i + 1]);
  QVLQuorvel* quorvel = setUp(argv[1], "first", configuration);
  QVLRelease(configuration);
  sayWhatCame(quorvel);

  /* Nothing needs the first account's token any more once another one is set up. */
  if (!QVLQuorvel_shutDown(60000)) return 5;
  QVLRelease(quorvel);
  unsetenv("https_proxy");
  QVLRelease(setUp(argv[1], "second", NULL));
  if (QVLLiveReferences() != 0) return 6;
  char report[] = "Fatal error: QVLRelease: released more often than retained";
  QVLFatalError_setHandler(leave, report, NULL);
  QVLRelease(configuration);
  return 7;
}
