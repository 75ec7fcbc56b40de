/*
 * A host in C. Asks a question, then reports that the first article resolved it and that the second
 * one did not.
 *
 *   PELLIX_ACCOUNT_URL=https://... PELLIX_TOKEN=... ask QUESTION
 *
 * PELLIX_CERTIFICATES may name a file of certificates to trust.
 */
#include <PellixProvidersSDK/QVLPellix.h>

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

/* Every operation releases its context when it has ended, silently or not: that ends the loop that
 * waits for it. */
static void stop(void* context) {
  (void)context;
  QVLMainQueue_stop();
}

/* What the service sends must not steer the terminal: no control characters, of one byte or of two.
 */
static void printTitle(const QVLDeflectionArticle* article) {
  size_t length = 0;
  const char* title = QVLDeflectionArticle_title(article, &length);
  unsigned char before = 0;
  for (size_t i = 0; i < length; ++i) {
    const unsigned char byte = (unsigned char)title[i];
    const int isControl = byte < 0x20 || byte == 0x7F || (before == 0xC2 && byte < 0xA0);
    putchar(isControl ? ' ' : byte);
    before = byte;
  }
  putchar('\n');
}

static void complain(const QVLError* error) {
  fprintf(stderr, "%s (%" PRId64 "): %s\n", QVLError_domain(error, NULL), QVLError_code(error),
          QVLError_localizedDescription(error, NULL));
}

static void keepAnswer(const QVLDeflectionResponse* response, const QVLError* error,
                       void* context) {
  const QVLDeflectionResponse** answer = context;
  if (error) {
    complain(error);
    return;
  }
  QVLRetain(response);
  *answer = response;
}

static void keepStatus(const QVLPellixDispatcherResponse* response, const QVLError* error,
                       void* context) {
  int64_t* status = context;
  if (error) {
    complain(error);
    return;
  }
  *status = QVLHTTPURLResponse_statusCode(QVLPellixDispatcherResponse_response(response));
}

static int report(QVLPellixProvider* provider, const QVLDeflectionResponse* answer) {
  const int64_t deflection = QVLDeflection_deflectionID(QVLDeflectionResponse_deflection(answer));
  const size_t count = QVLDeflectionResponse_deflectionArticles_count(answer);
  size_t length = 0;
  const char* token = QVLDeflectionResponse_interactionAccessToken(answer, &length);
  int64_t status = 0;

  for (size_t i = 0; i < count; ++i) {
    printf("%zu. ", i + 1);
    printTitle(QVLDeflectionResponse_deflectionArticles_at(answer, i));
  }
  if (count < 2) return EXIT_SUCCESS;

  const int64_t first =
      QVLDeflectionArticle_articleId(QVLDeflectionResponse_deflectionArticles_at(answer, 0));
  QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
      provider, deflection, first, token, length, keepStatus, &status, stop);
  QVLMainQueue_run();
  if (status == 0) return EXIT_FAILURE;
  printf("Resolved by article %" PRId64 ".\n", first);

  status = 0;
  const int64_t second =
      QVLDeflectionArticle_articleId(QVLDeflectionResponse_deflectionArticles_at(answer, 1));
  QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
      provider, deflection, second, token, length, QVLRejectionReason2, keepStatus, &status, stop);
  QVLMainQueue_run();
  if (status == 0) return EXIT_FAILURE;
  printf("Rejected article %" PRId64 ".\n", second);
  return EXIT_SUCCESS;
}

int main(int argc, char** argv) {
  const char* url = getenv("PELLIX_ACCOUNT_URL");
  const char* token = getenv("PELLIX_TOKEN");
  const char* certificates = getenv("PELLIX_CERTIFICATES");
  if (argc != 2 || !url || !token) {
    fprintf(stderr, "Usage: PELLIX_ACCOUNT_URL=... PELLIX_TOKEN=... %s QUESTION\n", argv[0]);
    return 2;
  }

  QVLQuorvelConfiguration* configuration = QVLQuorvelConfiguration_init();
  if (!configuration) return EXIT_FAILURE;
  QVLQuorvelConfiguration_setToken(configuration, token, QVL_UNTIL_NUL);
  if (certificates) {
    QVLQuorvelConfiguration_setCertificateAuthorities(configuration, certificates, QVL_UNTIL_NUL);
  }
  const QVLError* error = NULL;
  QVLQuorvel* quorvel = QVLQuorvel_initialize(url, QVL_UNTIL_NUL, "ask", QVL_UNTIL_NUL, "example",
                                              QVL_UNTIL_NUL, configuration, &error);
  QVLRelease(configuration);
  if (!quorvel) {
    if (error) {
      complain(error);
      QVLRelease(error);
    }
    return EXIT_FAILURE;
  }
  QVLVeltrane* veltrane = QVLVeltrane_initialize(quorvel);
  if (!veltrane) return EXIT_FAILURE;
  QVLPellix_initializeWithQuorvel_veltrane(quorvel, veltrane);
  QVLRelease(veltrane);

  QVLPellixProvider* provider = QVLPellix_provider(QVLPellix_instance());
  const QVLDeflectionResponse* answer = NULL;
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider, argv[1], QVL_UNTIL_NUL,
                                                            keepAnswer, &answer, stop);
  QVLMainQueue_run();

  int exitCode = EXIT_FAILURE;
  if (answer) {
    exitCode = report(provider, answer);
    QVLRelease(answer);
  }
  QVLQuorvel_waitUntilIdle(quorvel, 10000); /* the vote for the article may still be on its way */
  QVLRelease(quorvel);
  return exitCode;
}
