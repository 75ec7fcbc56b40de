#include <PellixProvidersSDK/QVLPellix.h>

#include <com_pellix_CoreError.h>
#include <com_pellix_Library.h>
#include <com_pellix_NativeObject.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What Java calls, and how the library calls Java. Nothing of the host's runs within the library's
/// callbacks but token suppliers and loggers.
namespace {

#define OPTION(name) com_pellix_Library_##name
#define FIELD(name) com_pellix_NativeObject_##name

static_assert(com_pellix_CoreError_INVALID_ACCOUNT_URL == QVLCoreErrorInvalidAccountUrl);
static_assert(com_pellix_CoreError_INSECURE_URL == QVLCoreErrorInsecureUrl);
static_assert(com_pellix_CoreError_MISSING_TOKEN == QVLCoreErrorMissingToken);
static_assert(com_pellix_CoreError_INVALID_HEADER == QVLCoreErrorInvalidHeader);
static_assert(com_pellix_CoreError_NOT_INITIALIZED == QVLCoreErrorNotInitialized);
static_assert(com_pellix_CoreError_CANNOT_RESOLVE_HOST == QVLCoreErrorCannotResolveHost);
static_assert(com_pellix_CoreError_CANNOT_RESOLVE_PROXY == QVLCoreErrorCannotResolveProxy);
static_assert(com_pellix_CoreError_CANNOT_CONNECT == QVLCoreErrorCannotConnect);
static_assert(com_pellix_CoreError_TIMED_OUT == QVLCoreErrorTimedOut);
static_assert(com_pellix_CoreError_UNTRUSTED_CERTIFICATE == QVLCoreErrorUntrustedCertificate);
static_assert(com_pellix_CoreError_SECURE_CONNECTION_FAILED == QVLCoreErrorSecureConnectionFailed);
static_assert(com_pellix_CoreError_UNREADABLE_CERTIFICATE_STORE ==
              QVLCoreErrorUnreadableCertificateStore);
static_assert(com_pellix_CoreError_CONNECTION_LOST == QVLCoreErrorConnectionLost);
static_assert(com_pellix_CoreError_MALFORMED_REPLY == QVLCoreErrorMalformedReply);
static_assert(com_pellix_CoreError_REPLY_TOO_LARGE == QVLCoreErrorReplyTooLarge);
static_assert(com_pellix_CoreError_PROXY_FAILED == QVLCoreErrorProxyFailed);
static_assert(com_pellix_CoreError_TRANSPORT_FAILED == QVLCoreErrorTransportFailed);
static_assert(com_pellix_CoreError_FOREIGN_ORIGIN == QVLCoreErrorForeignOrigin);
static_assert(com_pellix_CoreError_INVALID_PROXY == QVLCoreErrorInvalidProxy);

JavaVM* machine;
pthread_key_t attached;  // detaches a thread that ends
jclass library;
jclass exception;
jmethodID newException;
jmethodID ended;
jmethodID released;
jmethodID wake;
jmethodID supplyToken;
jmethodID log;

/// A call of Java on any thread, with room for references that go with it.
class Call {
 public:
  Call() {
    void* environment = nullptr;
    if (machine->GetEnv(&environment, JNI_VERSION_10) != JNI_OK) {
      std::string name = "pellix-library";
      JavaVMAttachArgs arguments{JNI_VERSION_10, name.data(), nullptr};
      if (machine->AttachCurrentThreadAsDaemon(&environment, &arguments) != JNI_OK) return;
      pthread_setspecific(attached, machine);
    }
    auto* const java = static_cast<JNIEnv*>(environment);
    if (java->PushLocalFrame(8) == 0) java_ = java;
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() {
    if (java_) java_->PopLocalFrame(nullptr);
  }

  /// False if Java takes no more calls.
  explicit operator bool() const { return java_; }
  JNIEnv* operator->() const { return java_; }
  [[nodiscard]] JNIEnv* java() const { return java_; }

  /// Nothing may be pending when the library goes on; what throws there is no code of the host's.
  [[nodiscard]] bool failed() const {
    if (!java_->ExceptionCheck()) return false;
    java_->ExceptionDescribe();
    java_->ExceptionClear();
    return true;
  }

 private:
  JNIEnv* java_ = nullptr;
};

using Text = std::optional<std::string>;

Text textOf(JNIEnv* java, jbyteArray bytes) {
  if (!bytes) return std::nullopt;
  const auto length = java->GetArrayLength(bytes);
  std::string text(static_cast<std::size_t>(length), '\0');
  java->GetByteArrayRegion(bytes, 0, length, reinterpret_cast<jbyte*>(text.data()));
  return text;
}

jbyteArray bytesOf(JNIEnv* java, const char* text, std::size_t length) {
  if (!text) return nullptr;
  auto* const bytes = java->NewByteArray(static_cast<jsize>(length));
  if (bytes) {
    java->SetByteArrayRegion(bytes, 0, static_cast<jsize>(length),
                             reinterpret_cast<const jbyte*>(text));
  }
  return bytes;
}

template <class Object>
Object* objectOf(jlong handle) {
  return reinterpret_cast<Object*>(static_cast<std::intptr_t>(handle));
}

/// A reference for Java.
jlong retained(const QVLObject* object) {
  QVLRetain(object);
  return reinterpret_cast<std::intptr_t>(object);
}

jthrowable exceptionOf(JNIEnv* java, const QVLError* error) {
  std::size_t length = 0;
  const auto* text = QVLError_domain(error, &length);
  auto* const domain = bytesOf(java, text, length);
  text = QVLError_localizedDescription(error, &length);
  auto* const message = domain ? bytesOf(java, text, length) : nullptr;
  if (!message) return nullptr;
  return static_cast<jthrowable>(
      java->NewObject(exception, newException, domain, jlong{QVLError_code(error)}, message));
}

/// The library's callbacks; the context is a global reference.

void release(void* context) {
  const Call call;
  if (call) call->DeleteGlobalRef(static_cast<jobject>(context));
}

template <class Record>
void endedBy(const Record* record, const QVLError* error, void* pending) {
  const Call call;
  if (!call) return;
  auto* const thrown = error ? exceptionOf(call.java(), error) : nullptr;
  if (call.failed()) return;
  call->CallStaticVoidMethod(library, ended, pending, record ? retained(record) : jlong{0}, thrown);
  static_cast<void>(call.failed());
}

void releasePending(void* pending) {
  const Call call;
  if (!call) return;
  call->CallStaticVoidMethod(library, released, pending);
  static_cast<void>(call.failed());
  call->DeleteGlobalRef(static_cast<jobject>(pending));
}

void wakeQueue(void* queue) {
  const Call call;
  if (!call) return;
  call->CallStaticVoidMethod(library, wake, queue);
  static_cast<void>(call.failed());
}

void supply(QVLTokenReceiver* receiver, void* supplier) {
  const Call call;
  if (!call) return;
  auto* const token = call->CallStaticObjectMethod(library, supplyToken, supplier);
  if (call.failed()) return;
  if (const auto text = textOf(call.java(), static_cast<jbyteArray>(token))) {
    QVLTokenReceiver_setToken(receiver, text->data(), text->size());
  }
}

void writeLog(int level, const char* line, std::size_t length, void* /*context*/) {
  const Call call;
  if (!call) return;
  auto* const bytes = bytesOf(call.java(), line, length);
  if (call.failed()) return;
  call->CallStaticVoidMethod(library, log, jint{level}, bytes);
  static_cast<void>(call.failed());
}

using Texts = std::array<Text, OPTION(TEXTS)>;
using Numbers = std::array<jlong, OPTION(NUMBERS)>;

QVLQuorvelConfiguration* configure(const Texts& texts, const Numbers& numbers) {
  auto* const made = QVLQuorvelConfiguration_init();
  const auto setText = [&](std::size_t which, auto set) {
    if (const auto& text = texts.at(which)) set(made, text->data(), text->size());
  };
  setText(OPTION(PRESET_TOKEN), QVLQuorvelConfiguration_setToken);
  setText(OPTION(CERTIFICATES), QVLQuorvelConfiguration_setCertificateAuthorities);
  setText(OPTION(PROXY), QVLQuorvelConfiguration_setProxy);
  const auto setNumber = [&]<class Number>(
                             std::size_t which,
                             void (*set)(QVLQuorvelConfiguration* configuration, Number value)) {
    if (numbers.at(which) >= 0) set(made, static_cast<Number>(numbers.at(which)));
  };
  setNumber(OPTION(CONNECT_TIMEOUT), QVLQuorvelConfiguration_setConnectTimeout);
  setNumber(OPTION(REQUEST_TIMEOUT), QVLQuorvelConfiguration_setRequestTimeout);
  setNumber(OPTION(TIME_TO_LIVE), QVLQuorvelConfiguration_setSettingsTimeToLive);
  setNumber(OPTION(MAX_RESPONSE_BYTES), QVLQuorvelConfiguration_setMaxResponseBytes);
  setNumber(OPTION(IGNORE_PROXY_ENVIRONMENT), QVLQuorvelConfiguration_setIgnoreProxyEnvironment);
  setNumber(OPTION(LOGS_TLS_SECRETS), QVLQuorvelConfiguration_setLogsTlsSecrets);
  return made;
}

/// The languages' tags, each up to its NUL.
void setLanguages(const std::string& tags) {
  std::vector<const char*> each;
  for (std::size_t at = 0; at < tags.size(); at = tags.find('\0', at) + 1) {
    each.push_back(tags.data() + at);
  }
  QVLLocale_setPreferredLanguages(each.data(), each.size());
}

/// A reference to the provider over a new core; null, and why, if there is none.
QVLPellixProvider* setUp(const Texts& texts, const std::string& applicationId,
                         const QVLQuorvelConfiguration* configuration, const QVLError** error) {
  const auto& url = *texts[OPTION(ACCOUNT_URL)];
  const auto& clientId = *texts[OPTION(CLIENT_ID)];
  auto* const quorvel =
      QVLQuorvel_initialize(url.data(), url.size(), applicationId.data(), applicationId.size(),
                            clientId.data(), clientId.size(), configuration, error);
  if (!quorvel) return nullptr;
  auto* const veltrane = QVLVeltrane_initialize(quorvel);
  if (const auto& locale = texts[OPTION(LOCALE_OVERRIDE)]) {
    QVLVeltrane_setLumenoLocaleOverride(veltrane, locale->data(), locale->size());
  }
  QVLPellix_initializeWithQuorvel_veltrane(quorvel, veltrane);
  QVLRelease(veltrane);
  QVLRelease(quorvel);
  auto* const provider = QVLPellix_provider(QVLPellix_instance());
  QVLRetain(provider);
  return provider;
}

const char* textAt(jlong handle, jint field, std::size_t index, std::size_t* length) {
  const auto* const response = objectOf<const QVLDeflectionResponse>(handle);
  const auto* const article = objectOf<const QVLDeflectionArticle>(handle);
  const auto* const http = objectOf<const QVLHTTPURLResponse>(handle);
  switch (field) {
    case FIELD(TOKEN):
      return QVLDeflectionResponse_interactionAccessToken(response, length);
    case FIELD(TITLE):
      return QVLDeflectionArticle_title(article, length);
    case FIELD(HTML_URL):
      return QVLDeflectionArticle_htmlURL(article, length);
    case FIELD(URL):
      return QVLDeflectionArticle_url(article, length);
    case FIELD(LABEL):
      return QVLDeflectionArticle_labelNames_at(article, index, length);
    case FIELD(BODY):
      return QVLDeflectionArticle_body(article, length);
    case FIELD(LOCALE):
      return QVLDeflectionArticle_locale(article, length);
    case FIELD(SNIPPET):
      return QVLDeflectionArticle_snippet(article, length);
    case FIELD(RESPONSE_URL):
      return QVLHTTPURLResponse_url(http, length);
    case FIELD(HEADER):
      return QVLHTTPURLResponse_allHeaderFields_nameAt(http, index, length);
    case FIELD(HEADER_VALUE):
      return QVLHTTPURLResponse_allHeaderFields_valueAt(http, index, length);
    default:
      return reinterpret_cast<const char*>(QVLPellixDispatcherResponse_data(
          objectOf<const QVLPellixDispatcherResponse>(handle), length));
  }
}

std::int64_t numberOf(jlong handle, jint field) {
  const auto* const response = objectOf<const QVLDeflectionResponse>(handle);
  const auto* const article = objectOf<const QVLDeflectionArticle>(handle);
  const auto* const http = objectOf<const QVLHTTPURLResponse>(handle);
  const auto count = [](std::size_t number) { return static_cast<std::int64_t>(number); };
  switch (field) {
    case FIELD(ARTICLES):
      return count(QVLDeflectionResponse_deflectionArticles_count(response));
    case FIELD(DEFLECTION_ID):
      return QVLDeflection_deflectionID(objectOf<QVLDeflection>(handle));
    case FIELD(ID):
      return QVLDeflectionArticle_id(article);
    case FIELD(LABELS):
      return count(QVLDeflectionArticle_labelNames_count(article));
    case FIELD(ARTICLE_ID):
      return QVLDeflectionArticle_articleId(article);
    case FIELD(BRAND_ID):
      return QVLDeflectionArticle_brandId(article);
    case FIELD(STATUS_CODE):
      return QVLHTTPURLResponse_statusCode(http);
    default:
      return count(QVLHTTPURLResponse_allHeaderFields_count(http));
  }
}

}  // namespace

jint JNI_OnLoad(JavaVM* loading, void* /*reserved*/) {
  machine = loading;
  const Call call;
  if (!call) return JNI_ERR;
  const auto find = [&](const char* name) {
    return static_cast<jclass>(call->NewGlobalRef(call->FindClass(name)));
  };
  library = find("com/pellix/Library");
  exception = find("com/pellix/PellixException");
  newException = call->GetMethodID(exception, "<init>", "([BJ[B)V");
  ended = call->GetStaticMethodID(library, "ended",
                                  "(Lcom/pellix/Pending;JLcom/pellix/PellixException;)V");
  released = call->GetStaticMethodID(library, "released", "(Lcom/pellix/Pending;)V");
  wake = call->GetStaticMethodID(library, "wake", "(Lcom/pellix/MainQueue;)V");
  supplyToken = call->GetStaticMethodID(library, "token", "(Ljava/util/function/Supplier;)[B");
  log = call->GetStaticMethodID(library, "log", "(I[B)V");
  const auto detach = [](void*) { machine->DetachCurrentThread(); };
  return !call.failed() && pthread_key_create(&attached, detach) == 0 ? JNI_VERSION_10 : JNI_ERR;
}

jlong Java_com_pellix_Library_open(JNIEnv* java, jclass, jobjectArray texts, jlongArray numbers,
                                   jobject supplier, jobject queue, jint logLevel) {
  Texts given;
  for (jsize i = 0; i < OPTION(TEXTS); ++i) {
    given.at(static_cast<std::size_t>(i)) =
        textOf(java, static_cast<jbyteArray>(java->GetObjectArrayElement(texts, i)));
  }
  Numbers chosen{};
  java->GetLongArrayRegion(numbers, 0, OPTION(NUMBERS), chosen.data());

  QVLCoreLogger_setLevel(logLevel);
  QVLCoreLogger_setSink(writeLog, nullptr, nullptr);
  if (const auto& languages = given[OPTION(LANGUAGES)]) setLanguages(*languages);
  auto* const configuration = configure(given, chosen);
  if (supplier) {
    QVLQuorvelConfiguration_setTokenSupplier(configuration, supply, java->NewGlobalRef(supplier),
                                             release);
  }
  const QVLError* error = nullptr;
  const auto& applicationId = *given[OPTION(APPLICATION_ID)];
  static bool isSetUp = false;
  QVLPellixProvider* provider = nullptr;
  if (isSetUp) {  // for the same application, nothing would change: another one comes between
    provider = setUp(given, applicationId + "'", configuration, &error);
    if (provider) QVLRelease(provider);
  }
  if (!isSetUp || provider) provider = setUp(given, applicationId, configuration, &error);
  QVLRelease(configuration);
  if (provider) {
    isSetUp = true;
    QVLMainQueue_setWakeHook(wakeQueue, java->NewGlobalRef(queue), release);
  } else if (error) {
    if (auto* const thrown = exceptionOf(java, error)) java->Throw(thrown);
    QVLRelease(error);
  }
  return reinterpret_cast<std::intptr_t>(provider);
}

void Java_com_pellix_Library_close(JNIEnv*, jclass, jlong milliseconds) {
  QVLQuorvel_shutDown(milliseconds);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
}

jboolean Java_com_pellix_Library_waitUntilIdle(JNIEnv*, jclass, jlong milliseconds) {
  auto* const quorvel = QVLQuorvel_instance();
  const bool isIdle = QVLQuorvel_waitUntilIdle(quorvel, milliseconds);
  QVLRelease(quorvel);
  return isIdle;
}

void Java_com_pellix_Library_runPending(JNIEnv*, jclass) {
  QVLMainQueue_runPending();
}

void Java_com_pellix_Library_release(JNIEnv*, jclass, jlong handle) {
  QVLRelease(objectOf<QVLObject>(handle));
}

jbyteArray Java_com_pellix_Library_version(JNIEnv* java, jclass) {
  std::array<char, 64> version{};
  const auto length = QVLPellix_version(version.data(), version.size());
  return bytesOf(java, version.data(), std::min(length, version.size() - 1));
}

jlong Java_com_pellix_Library_liveReferences(JNIEnv*, jclass) {
  return static_cast<jlong>(QVLLiveReferences());
}

jbyteArray Java_com_pellix_NativeObject_bytes(JNIEnv* java, jobject, jlong handle, jint field,
                                              jint index) {
  std::size_t length = 0;
  const auto* const text = textAt(handle, field, static_cast<std::size_t>(index), &length);
  return bytesOf(java, text, length);
}

jlong Java_com_pellix_NativeObject_number(JNIEnv*, jobject, jlong handle, jint field) {
  return numberOf(handle, field);
}

jdouble Java_com_pellix_NativeObject_real(JNIEnv*, jobject, jlong handle) {
  return QVLDeflectionArticle_score(objectOf<const QVLDeflectionArticle>(handle));
}

jlong Java_com_pellix_NativeObject_part(JNIEnv*, jobject, jlong handle, jint kind, jint index) {
  const auto* const response = objectOf<const QVLDeflectionResponse>(handle);
  switch (kind) {
    case FIELD(DEFLECTION):
      return retained(QVLDeflectionResponse_deflection(response));
    case FIELD(DEFLECTION_ARTICLE):
      return retained(
          QVLDeflectionResponse_deflectionArticles_at(response, static_cast<std::size_t>(index)));
    default:
      return retained(QVLPellixDispatcherResponse_response(
          objectOf<const QVLPellixDispatcherResponse>(handle)));
  }
}

jboolean Java_com_pellix_NativeObject_isEqual(JNIEnv*, jobject, jlong handle, jint kind, jobject,
                                              jlong otherHandle) {
  const auto* const other = objectOf<const QVLObject>(otherHandle);
  switch (kind) {
    case FIELD(DEFLECTION_RESPONSE):
      return QVLDeflectionResponse_isEqual(objectOf<QVLDeflectionResponse>(handle), other);
    case FIELD(DEFLECTION):
      return QVLDeflection_isEqual(objectOf<QVLDeflection>(handle), other);
    case FIELD(DEFLECTION_ARTICLE):
      return QVLDeflectionArticle_isEqual(objectOf<QVLDeflectionArticle>(handle), other);
    case FIELD(DISPATCHER_RESPONSE):
      return QVLPellixDispatcherResponse_isEqual(objectOf<QVLPellixDispatcherResponse>(handle),
                                                 other);
    case FIELD(HTTP_RESPONSE):
      return QVLHTTPURLResponse_isEqual(objectOf<QVLHTTPURLResponse>(handle), other);
    default:
      return handle == otherHandle;
  }
}

void Java_com_pellix_NativeObject_start(JNIEnv* java, jobject, jlong handle, jint operation,
                                        jbyteArray text, jlong deflectionId, jlong articleId,
                                        jlong reason, jobject pending) {
  auto* const provider = objectOf<QVLPellixProvider>(handle);
  const auto sent = *textOf(java, text);
  auto* const context = java->NewGlobalRef(pending);
  switch (operation) {
    case FIELD(ASK):
      return QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
          provider, sent.data(), sent.size(), endedBy, context, releasePending);
    case FIELD(RESOLVE):
      return QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
          provider, deflectionId, articleId, sent.data(), sent.size(), endedBy, context,
          releasePending);
    default:
      return QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
          provider, deflectionId, articleId, sent.data(), sent.size(), reason, endedBy, context,
          releasePending);
  }
}
