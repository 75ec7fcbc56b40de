#include <PellixProvidersSDK/QVLPellix.h>

#include <com_pellix_Deflection.h>
#include <com_pellix_DeflectionArticle.h>
#include <com_pellix_DeflectionResponse.h>
#include <com_pellix_HTTPURLResponse.h>
#include <com_pellix_Library.h>
#include <com_pellix_PellixDispatcherResponse.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What Java calls, and how the library calls Java. Nothing of the host's runs within the library's
/// callbacks but token suppliers and loggers.
namespace {

JavaVM* machine;
pthread_key_t attached;  // detaches a thread that ends
jclass library;
jclass exception;
jclass nativeObject;
jclass string;
jfieldID reference;
jmethodID newException;
jmethodID newText;
jmethodID ended;
jmethodID released;
jmethodID wake;
jmethodID supplyToken;
jmethodID logLine;

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
  void operator()(void* object, jmethodID method, Arguments... arguments) const {
    if (failed()) return;
    java_->CallVoidMethod(static_cast<jobject>(object), method, arguments...);
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

std::optional<std::string> bytesFrom(JNIEnv* java, jobject object) {
  auto* const bytes = static_cast<jbyteArray>(object);
  if (!bytes) return std::nullopt;
  const auto length = java->GetArrayLength(bytes);
  std::string text(static_cast<std::size_t>(length), '\0');
  java->GetByteArrayRegion(bytes, 0, length, reinterpret_cast<jbyte*>(text.data()));
  return text;
}

jbyteArray bytesFor(JNIEnv* java, const void* text, std::size_t size) {
  if (!text) return nullptr;
  const auto length = static_cast<jsize>(size);
  auto* const bytes = java->NewByteArray(length);
  if (bytes) java->SetByteArrayRegion(bytes, 0, length, static_cast<const jbyte*>(text));
  return bytes;
}

/// What a server sent need not be UTF-8, and JNI has a form of its own.
jstring textFor(JNIEnv* java, const char* text, std::size_t size) {
  auto* const bytes = bytesFor(java, text, size);
  if (!bytes) return nullptr;
  auto* const made = java->CallStaticObjectMethod(library, newText, bytes);
  if (java->ExceptionCheck()) return nullptr;
  java->DeleteLocalRef(bytes);
  return static_cast<jstring>(made);
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
  auto* const domain = textFor(java, text, length);
  text = QVLError_localizedDescription(error, &length);
  auto* const message = domain ? textFor(java, text, length) : nullptr;
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
  if (const Call call; call) call(pending, ended, retained(record), exceptionOf(call, error));
}

void releasePending(void* pending) {
  if (const Call call; call) call(pending, released);
  release(pending);
}

void wakeQueue(void* queue) {
  if (const Call call; call) call(queue, wake);
}

void writeLog(int level, const char* line, std::size_t length, void* /*context*/) {
  const Call call;
  if (!call) return;
  auto* const text = textFor(call, line, length);
  if (text) call->CallStaticVoidMethod(library, logLine, jint{level}, text);
  static_cast<void>(call.failed());
}

void supply(QVLTokenReceiver* receiver, void* supplier) {
  const Call call;
  if (!call) return;
  auto* const token = call->CallStaticObjectMethod(library, supplyToken, supplier);
  if (call.failed()) return;
  if (const auto text = bytesFrom(call, token)) {
    QVLTokenReceiver_setToken(receiver, text->data(), text->size());
  }
}

/// A text of an object, or the one at an index.
template <auto read>
jstring textOf(JNIEnv* java, Handle of, auto... index) {
  std::size_t length = 0;
  const auto* const text = read(of, index..., &length);
  return textFor(java, text, length);
}

template <auto count, auto at>
jobjectArray textsOf(JNIEnv* java, Handle of) {
  const std::size_t size = count(of);
  auto* const texts = java->NewObjectArray(static_cast<jsize>(size), string, nullptr);
  for (std::size_t i = 0; texts && i < size; ++i) {
    auto* const text = textOf<at>(java, of, i);
    if (!text) return nullptr;
    java->SetObjectArrayElement(texts, static_cast<jsize>(i), text);
    java->DeleteLocalRef(text);
  }
  return texts;
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
  nativeObject = find("com/pellix/NativeObject");
  string = find("java/lang/String");
  reference = call->GetFieldID(nativeObject, "handle", "J");
  newException = call->GetMethodID(exception, "<init>", "(Ljava/lang/String;JLjava/lang/String;)V");
  auto* const pending = call->FindClass("com/pellix/Pending");
  ended = call->GetMethodID(pending, "ended", "(JLcom/pellix/PellixException;)V");
  released = call->GetMethodID(pending, "released", "()V");
  wake = call->GetMethodID(call->FindClass("com/pellix/MainQueue"), "wake", "()V");
  newText = call->GetStaticMethodID(library, "text", "([B)Ljava/lang/String;");
  supplyToken = call->GetStaticMethodID(library, "token", "(Ljava/util/function/Supplier;)[B");
  logLine = call->GetStaticMethodID(library, "log", "(ILjava/lang/String;)V");
  const auto detach = [](void*) { machine->DetachCurrentThread(); };
  return !call.failed() && pthread_key_create(&attached, detach) == 0 ? JNI_VERSION_10 : JNI_ERR;
}

// What a host chooses.

void Java_com_pellix_Library_setPreferredLanguages(JNIEnv* java, jclass, jbyteArray tags) {
  const auto each = *bytesFrom(java, tags);
  std::vector<const char*> languages;
  for (std::size_t at = 0; at < each.size(); at = each.find('\0', at) + 1) {
    languages.push_back(each.data() + at);
  }
  languages.push_back(nullptr);  // without an array, the environment's are meant
  QVLLocale_setPreferredLanguages(languages.data(), languages.size() - 1);
}

jlong Java_com_pellix_Library_configuration(JNIEnv*, jclass) {
  return reinterpret_cast<std::intptr_t>(QVLQuorvelConfiguration_init());
}

void Java_com_pellix_Library_setTokenSupplier(JNIEnv* java, jclass, jlong configuration,
                                              jobject supplier) {
  QVLQuorvelConfiguration_setTokenSupplier(Handle(configuration), supply,
                                           java->NewGlobalRef(supplier), release);
}

#define TEXT(name)                                                                        \
  void Java_com_pellix_Library_##name(JNIEnv* java, jclass, jlong at, jbyteArray bytes) { \
    const auto text = *bytesFrom(java, bytes);                                            \
    QVLQuorvelConfiguration_##name(Handle(at), text.data(), text.size());                 \
  }
#define NUMBER(name, type)                                                       \
  void Java_com_pellix_Library_##name(JNIEnv*, jclass, jlong at, jlong number) { \
    QVLQuorvelConfiguration_##name(Handle(at), static_cast<type>(number));       \
  }
TEXT(setToken)
TEXT(setCertificateAuthorities)
TEXT(setProxy)
NUMBER(setIgnoreProxyEnvironment, bool)
NUMBER(setConnectTimeout, jlong)
NUMBER(setRequestTimeout, jlong)
NUMBER(setSettingsTimeout, jlong)
NUMBER(setMaxResponseBytes, std::size_t)
NUMBER(setSettingsTimeToLive, jlong)
NUMBER(setLogsTlsSecrets, bool)
#undef TEXT
#undef NUMBER

// The client.

jlong Java_com_pellix_Library_open(JNIEnv* java, jclass, jbyteArray accountUrl, jlong configuration,
                                   jbyteArray localeOverride, jobject queue, jint logLevel) {
  QVLCoreLogger_setLevel(logLevel);
  QVLCoreLogger_setSink(writeLog, nullptr, nullptr);
  // The library keeps what it was set up with for one application: each client is another.
  static int clients = 0;
  const auto application = "java-" + std::to_string(++clients);
  const auto url = *bytesFrom(java, accountUrl);
  const QVLError* error = nullptr;
  auto* const quorvel =
      QVLQuorvel_initialize(url.data(), url.size(), application.data(), application.size(),
                            "pellix", QVL_UNTIL_NUL, Handle(configuration), &error);
  if (auto* const thrown = exceptionOf(java, error)) {
    java->Throw(thrown);
    QVLRelease(error);
  }
  if (!quorvel) return 0;
  auto* const veltrane = QVLVeltrane_initialize(quorvel);
  if (const auto locale = bytesFrom(java, localeOverride)) {
    QVLVeltrane_setLumenoLocaleOverride(veltrane, locale->data(), locale->size());
  }
  QVLPellix_initializeWithQuorvel_veltrane(quorvel, veltrane);
  QVLRelease(veltrane);
  QVLRelease(quorvel);
  QVLMainQueue_setWakeHook(wakeQueue, java->NewGlobalRef(queue), release);
  return retained(QVLPellix_provider(QVLPellix_instance()));
}

void Java_com_pellix_Library_close(JNIEnv*, jclass, jlong milliseconds) {
  QVLQuorvel_shutDown(milliseconds);
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
}

void Java_com_pellix_Library_prepare(JNIEnv*, jclass) {
  auto* const quorvel = QVLQuorvel_instance();
  QVLQuorvel_prepare(quorvel);
  QVLRelease(quorvel);
}

void Java_com_pellix_Library_waitUntilIdle(JNIEnv*, jclass, jlong milliseconds) {
  if (pthread_getspecific(attached)) return;  // the library's own thread: it would wait for itself
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

jstring Java_com_pellix_Library_version(JNIEnv* java, jclass) {
  std::array<char, 64> version{};
  const auto length = QVLPellix_version(version.data(), version.size());
  return textFor(java, version.data(), std::min(length, version.size() - 1));
}

jlong Java_com_pellix_Library_liveReferences(JNIEnv*, jclass) {
  return static_cast<jlong>(QVLLiveReferences());
}

void Java_com_pellix_Library_ask(JNIEnv* java, jclass, jobject provider, jbyteArray question,
                                 jobject pending) {
  const auto text = *bytesFrom(java, question);
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      Handle(java, provider), text.data(), text.size(), endedBy, java->NewGlobalRef(pending),
      releasePending);
}

void Java_com_pellix_Library_resolve(JNIEnv* java, jclass, jobject provider, jlong deflectionId,
                                     jlong articleId, jbyteArray token, jobject pending) {
  const auto text = *bytesFrom(java, token);
  QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
      Handle(java, provider), deflectionId, articleId, text.data(), text.size(), endedBy,
      java->NewGlobalRef(pending), releasePending);
}

void Java_com_pellix_Library_reject(JNIEnv* java, jclass, jobject provider, jlong deflectionId,
                                    jlong articleId, jbyteArray token, jlong reason,
                                    jobject pending) {
  const auto text = *bytesFrom(java, token);
  QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
      Handle(java, provider), deflectionId, articleId, text.data(), text.size(), reason, endedBy,
      java->NewGlobalRef(pending), releasePending);
}

// The records, each by the functions of its class.

#define TEXT(record, name)                                                \
  jstring Java_com_pellix_##record##_##name(JNIEnv* java, jobject self) { \
    return textOf<QVL##record##_##name>(java, Handle(java, self));        \
  }
#define TEXTS(record, name, count, at)                                                   \
  jobjectArray Java_com_pellix_##record##_##name(JNIEnv* java, jobject self) {           \
    return textsOf<QVL##record##_##count, QVL##record##_##at>(java, Handle(java, self)); \
  }
#define NUMBER(type, record, name, function)                                \
  type Java_com_pellix_##record##_##name(JNIEnv* java, jobject self) {      \
    return static_cast<type>(QVL##record##_##function(Handle(java, self))); \
  }
#define PART(record, function)                                        \
  jlong Java_com_pellix_##record##_part(JNIEnv* java, jobject self) { \
    return retained(QVL##record##_##function(Handle(java, self)));    \
  }
#define EQUALITY(record, key)                                                             \
  jboolean Java_com_pellix_##record##_equals(JNIEnv* java, jobject self, jobject other) { \
    return other && java->IsInstanceOf(other, nativeObject) &&                            \
           QVL##record##_isEqual(Handle(java, self), Handle(java, other));                \
  }                                                                                       \
  jint Java_com_pellix_##record##_hashCode(JNIEnv* java, jobject self) {                  \
    const Handle of(java, self);                                                          \
    return static_cast<jint>(std::hash<std::int64_t>()(key));                             \
  }

NUMBER(jlong, Deflection, deflectionID, deflectionID)
EQUALITY(Deflection, QVLDeflection_deflectionID(of))

NUMBER(jlong, DeflectionArticle, id, id)
TEXT(DeflectionArticle, title)
TEXT(DeflectionArticle, htmlURL)
TEXT(DeflectionArticle, url)
TEXTS(DeflectionArticle, labels, labelNames_count, labelNames_at)
TEXT(DeflectionArticle, body)
NUMBER(jlong, DeflectionArticle, articleId, articleId)
TEXT(DeflectionArticle, locale)
NUMBER(jlong, DeflectionArticle, brandId, brandId)
NUMBER(jdouble, DeflectionArticle, score, score)
TEXT(DeflectionArticle, snippet)
EQUALITY(DeflectionArticle, QVLDeflectionArticle_articleId(of))

PART(DeflectionResponse, deflection)
NUMBER(jint, DeflectionResponse, articleCount, deflectionArticles_count)
TEXT(DeflectionResponse, interactionAccessToken)
EQUALITY(DeflectionResponse, QVLDeflection_deflectionID(QVLDeflectionResponse_deflection(of)))

jlong Java_com_pellix_DeflectionResponse_article(JNIEnv* java, jobject self, jint index) {
  return retained(QVLDeflectionResponse_deflectionArticles_at(Handle(java, self),
                                                              static_cast<std::size_t>(index)));
}

NUMBER(jint, HTTPURLResponse, statusCode, statusCode)
TEXT(HTTPURLResponse, url)
TEXTS(HTTPURLResponse, headerNames, allHeaderFields_count, allHeaderFields_nameAt)
TEXTS(HTTPURLResponse, headerValues, allHeaderFields_count, allHeaderFields_valueAt)
EQUALITY(HTTPURLResponse, QVLHTTPURLResponse_statusCode(of))

PART(PellixDispatcherResponse, response)
EQUALITY(PellixDispatcherResponse,
         QVLHTTPURLResponse_statusCode(QVLPellixDispatcherResponse_response(of)))

jbyteArray Java_com_pellix_PellixDispatcherResponse_body(JNIEnv* java, jobject self) {
  std::size_t length = 0;
  const auto* const data = QVLPellixDispatcherResponse_data(Handle(java, self), &length);
  return bytesFor(java, data, length);
}
