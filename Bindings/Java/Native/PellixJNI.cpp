#include <PellixProvidersSDK/QVLPellix.h>

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

JavaVM* machine;
pthread_key_t attached;  // detaches a thread that ends
jclass library;
jclass exception;
jfieldID reference;
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

  /// Null if Java takes no more calls.
  operator JNIEnv*() const { return java_; }
  JNIEnv* operator->() const { return java_; }

  template <class... Arguments>
  void operator()(jmethodID method, Arguments... arguments) const {
    if (failed()) return;
    java_->CallStaticVoidMethod(library, method, arguments...);
    static_cast<void>(failed());
  }

  /// What throws is no code of the host's, and must not hold the library up.
  bool failed() const {
    if (!java_->ExceptionCheck()) return false;
    java_->ExceptionDescribe();
    java_->ExceptionClear();
    return true;
  }

 private:
  JNIEnv* java_ = nullptr;
};

using Text = std::optional<std::string>;

Text textOf(JNIEnv* java, jobject object) {
  auto* const bytes = static_cast<jbyteArray>(object);
  if (!bytes) return std::nullopt;
  const auto length = java->GetArrayLength(bytes);
  std::string text(static_cast<std::size_t>(length), '\0');
  java->GetByteArrayRegion(bytes, 0, length, reinterpret_cast<jbyte*>(text.data()));
  return text;
}

jbyteArray bytesOf(JNIEnv* java, const void* text, std::size_t size) {
  if (!text) return nullptr;
  const auto length = static_cast<jsize>(size);
  auto* const bytes = java->NewByteArray(length);
  if (bytes) java->SetByteArrayRegion(bytes, 0, length, static_cast<const jbyte*>(text));
  return bytes;
}

/// What a reference of Java's refers to, of whatever class.
struct Handle {
  jlong value;

  Handle(JNIEnv* java, jobject object) : value(java->GetLongField(object, reference)) {}
  explicit Handle(jlong given) : value(given) {}
  template <class Object>
  operator Object*() const {
    return reinterpret_cast<Object*>(static_cast<std::intptr_t>(value));
  }
};

/// A reference for Java.
jlong retained(const QVLObject* object) {
  if (object) QVLRetain(object);
  return reinterpret_cast<std::intptr_t>(object);
}

jthrowable exceptionOf(JNIEnv* java, const QVLError* error) {
  if (!error) return nullptr;
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
  if (const Call call; call) call->DeleteGlobalRef(static_cast<jobject>(context));
}

template <class Record>
void endedBy(const Record* record, const QVLError* error, void* pending) {
  if (const Call call; call) call(ended, pending, retained(record), exceptionOf(call, error));
}

void releasePending(void* pending) {
  if (const Call call; call) call(released, pending);
  release(pending);
}

void wakeQueue(void* queue) {
  if (const Call call; call) call(wake, queue);
}

void writeLog(int level, const char* line, std::size_t length, void* /*context*/) {
  if (const Call call; call) call(log, jint{level}, bytesOf(call, line, length));
}

void supply(QVLTokenReceiver* receiver, void* supplier) {
  const Call call;
  if (!call) return;
  auto* const token = call->CallStaticObjectMethod(library, supplyToken, supplier);
  if (call.failed()) return;
  if (const auto text = textOf(call, token)) {
    QVLTokenReceiver_setToken(receiver, text->data(), text->size());
  }
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
  const auto setNumber = [&]<class Number>(std::size_t which,
                                           void (*set)(QVLQuorvelConfiguration*, Number)) {
    if (numbers.at(which) >= 0) set(made, static_cast<Number>(numbers.at(which)));
  };
  setNumber(OPTION(CONNECT_TIMEOUT), QVLQuorvelConfiguration_setConnectTimeout);
  setNumber(OPTION(REQUEST_TIMEOUT), QVLQuorvelConfiguration_setRequestTimeout);
  setNumber(OPTION(SETTINGS_TIMEOUT), QVLQuorvelConfiguration_setSettingsTimeout);
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
QVLPellixProvider* setUp(const Texts& texts, const QVLQuorvelConfiguration* configuration,
                         const QVLError** error) {
  // The library keeps what it was set up with for one application: each client is another.
  static int clients = 0;
  const auto application = "java-" + std::to_string(++clients);
  const auto& url = *texts[OPTION(ACCOUNT_URL)];
  auto* const quorvel =
      QVLQuorvel_initialize(url.data(), url.size(), application.data(), application.size(),
                            "pellix", QVL_UNTIL_NUL, configuration, error);
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

const void* textAt(Handle of, jint field, std::size_t index, std::size_t* length) {
  switch (field) {
    case FIELD(TOKEN):
      return QVLDeflectionResponse_interactionAccessToken(of, length);
    case FIELD(TITLE):
      return QVLDeflectionArticle_title(of, length);
    case FIELD(HTML_URL):
      return QVLDeflectionArticle_htmlURL(of, length);
    case FIELD(URL):
      return QVLDeflectionArticle_url(of, length);
    case FIELD(LABEL):
      return QVLDeflectionArticle_labelNames_at(of, index, length);
    case FIELD(BODY):
      return QVLDeflectionArticle_body(of, length);
    case FIELD(LOCALE):
      return QVLDeflectionArticle_locale(of, length);
    case FIELD(SNIPPET):
      return QVLDeflectionArticle_snippet(of, length);
    case FIELD(RESPONSE_URL):
      return QVLHTTPURLResponse_url(of, length);
    case FIELD(HEADER):
      return QVLHTTPURLResponse_allHeaderFields_nameAt(of, index, length);
    case FIELD(HEADER_VALUE):
      return QVLHTTPURLResponse_allHeaderFields_valueAt(of, index, length);
    default:
      return QVLPellixDispatcherResponse_data(of, length);
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
  reference = call->GetFieldID(call->FindClass("com/pellix/NativeObject"), "handle", "J");
  newException = call->GetMethodID(exception, "<init>", "([BJ[B)V");
  const auto method = [&](const char* name, const char* signature) {
    return call->GetStaticMethodID(library, name, signature);
  };
  ended = method("ended", "(Lcom/pellix/Pending;JLcom/pellix/PellixException;)V");
  released = method("released", "(Lcom/pellix/Pending;)V");
  wake = method("wake", "(Lcom/pellix/MainQueue;)V");
  supplyToken = method("token", "(Ljava/util/function/Supplier;)[B");
  log = method("log", "(I[B)V");
  const auto detach = [](void*) { machine->DetachCurrentThread(); };
  return !call.failed() && pthread_key_create(&attached, detach) == 0 ? JNI_VERSION_10 : JNI_ERR;
}

jlong Java_com_pellix_Library_open(JNIEnv* java, jclass, jobjectArray texts, jlongArray numbers,
                                   jobject supplier, jobject queue, jint logLevel) {
  Texts given;
  for (jsize i = 0; i < OPTION(TEXTS); ++i) {
    given.at(static_cast<std::size_t>(i)) = textOf(java, java->GetObjectArrayElement(texts, i));
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
  auto* const provider = setUp(given, configuration, &error);
  QVLRelease(configuration);
  if (provider) {
    QVLMainQueue_setWakeHook(wakeQueue, java->NewGlobalRef(queue), release);
  } else if (auto* const thrown = exceptionOf(java, error)) {
    java->Throw(thrown);
    QVLRelease(error);
  }
  return reinterpret_cast<std::intptr_t>(provider);
}

void Java_com_pellix_Library_close(JNIEnv*, jclass, jlong milliseconds) {
  QVLQuorvel_shutDown(milliseconds);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
}

void Java_com_pellix_Library_waitUntilIdle(JNIEnv*, jclass, jlong milliseconds) {
  auto* const quorvel = QVLQuorvel_instance();
  QVLQuorvel_waitUntilIdle(quorvel, milliseconds);
  QVLRelease(quorvel);
}

jthrowable Java_com_pellix_Library_lastSettingsFailure(JNIEnv* java, jclass) {
  auto* const quorvel = QVLQuorvel_instance();
  const auto* const error = QVLQuorvel_lastSettingsFailure(quorvel, nullptr);
  auto* const failure = exceptionOf(java, error);
  if (error) QVLRelease(error);
  QVLRelease(quorvel);
  return failure;
}

void Java_com_pellix_Library_runPending(JNIEnv*, jclass) {
  QVLMainQueue_runPending();
}

void Java_com_pellix_Library_release(JNIEnv*, jclass, jlong handle) {
  QVLRelease(Handle(handle));
}

jbyteArray Java_com_pellix_Library_version(JNIEnv* java, jclass) {
  std::array<char, 64> version{};
  const auto length = QVLPellix_version(version.data(), version.size());
  return bytesOf(java, version.data(), std::min(length, version.size() - 1));
}

jlong Java_com_pellix_Library_liveReferences(JNIEnv*, jclass) {
  return static_cast<jlong>(QVLLiveReferences());
}

jbyteArray Java_com_pellix_NativeObject_bytes(JNIEnv* java, jobject self, jint field, jint index) {
  std::size_t length = 0;
  const auto* const text =
      textAt(Handle(java, self), field, static_cast<std::size_t>(index), &length);
  return bytesOf(java, text, length);
}

jlong Java_com_pellix_NativeObject_number(JNIEnv* java, jobject self, jint field) {
  const Handle of(java, self);
  const auto count = [](std::size_t number) { return static_cast<jlong>(number); };
  switch (field) {
    case FIELD(DEFLECTION_RESPONSE):
      return QVLDeflection_deflectionID(QVLDeflectionResponse_deflection(of));
    case FIELD(DEFLECTION):
      return QVLDeflection_deflectionID(of);
    case FIELD(DEFLECTION_ARTICLE):
      return QVLDeflectionArticle_articleId(of);
    case FIELD(DISPATCHER_RESPONSE):
      return QVLHTTPURLResponse_statusCode(QVLPellixDispatcherResponse_response(of));
    case FIELD(HTTP_RESPONSE):
      return QVLHTTPURLResponse_statusCode(of);
    case FIELD(ARTICLES):
      return count(QVLDeflectionResponse_deflectionArticles_count(of));
    case FIELD(ID):
      return QVLDeflectionArticle_id(of);
    case FIELD(LABELS):
      return count(QVLDeflectionArticle_labelNames_count(of));
    case FIELD(BRAND_ID):
      return QVLDeflectionArticle_brandId(of);
    default:
      return count(QVLHTTPURLResponse_allHeaderFields_count(of));
  }
}

jdouble Java_com_pellix_NativeObject_realScore(JNIEnv* java, jobject self) {
  return QVLDeflectionArticle_score(Handle(java, self));
}

jlong Java_com_pellix_NativeObject_part(JNIEnv* java, jobject self, jint kind, jint index) {
  const Handle of(java, self);
  const auto at = static_cast<std::size_t>(index);
  switch (kind) {
    case FIELD(DEFLECTION):
      return retained(QVLDeflectionResponse_deflection(of));
    case FIELD(DEFLECTION_ARTICLE):
      return retained(QVLDeflectionResponse_deflectionArticles_at(of, at));
    default:
      return retained(QVLPellixDispatcherResponse_response(of));
  }
}

jboolean Java_com_pellix_NativeObject_isEqual(JNIEnv* java, jobject self, jint kind,
                                              jobject object) {
  const Handle of(java, self);
  const Handle other(java, object);
  switch (kind) {
    case FIELD(DEFLECTION_RESPONSE):
      return QVLDeflectionResponse_isEqual(of, other);
    case FIELD(DEFLECTION):
      return QVLDeflection_isEqual(of, other);
    case FIELD(DEFLECTION_ARTICLE):
      return QVLDeflectionArticle_isEqual(of, other);
    case FIELD(DISPATCHER_RESPONSE):
      return QVLPellixDispatcherResponse_isEqual(of, other);
    default:
      return QVLHTTPURLResponse_isEqual(of, other);
  }
}

void Java_com_pellix_NativeObject_start(JNIEnv* java, jobject self, jint operation,
                                        jbyteArray bytes, jlong deflectionId, jlong articleId,
                                        jlong reason, jobject pending) {
  const Handle provider(java, self);
  const auto text = *textOf(java, bytes);
  auto* const context = java->NewGlobalRef(pending);
  switch (operation) {
    case FIELD(ASK):
      return QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
          provider, text.data(), text.size(), endedBy, context, releasePending);
    case FIELD(RESOLVE):
      return QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
          provider, deflectionId, articleId, text.data(), text.size(), endedBy, context,
          releasePending);
    default:
      return QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
          provider, deflectionId, articleId, text.data(), text.size(), reason, endedBy, context,
          releasePending);
  }
}
