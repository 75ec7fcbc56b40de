#include <PellixProvidersSDK/QVLPellix.h>

#include <signal.h>
#include <stddef.h>
#include <unistd.h>

/* What the hosts in Java and in JavaScript have in C. They ask again at each reply, which comes on
 * the library's worker thread, so that there is no end of calls into their runtimes. */

static QVLDeflectionCallback replied;

static void ask(void) {
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      QVLPellix_provider(QVLPellix_instance()), "How?", QVL_UNTIL_NUL, replied, NULL, NULL);
}

static void begin(const char* url, const char* certificates, QVLDeflectionCallback callback) {
  QVLCoreLogger_setLevel(QVLLogLevelOff);
  QVLQuorvelConfiguration* configuration = QVLQuorvelConfiguration_init();
  QVLQuorvelConfiguration_setCertificateAuthorities(configuration, certificates, QVL_UNTIL_NUL);
  QVLQuorvel* quorvel = QVLQuorvel_initialize(url, QVL_UNTIL_NUL, "app", QVL_UNTIL_NUL, "client",
                                              QVL_UNTIL_NUL, configuration, NULL);
  QVLPellix_initializeWithQuorvel_veltrane(quorvel, QVLVeltrane_initialize(quorvel));
  replied = callback;
  for (int i = 0; i < 100; ++i) ask();
}

#ifdef HOST_IS_JAVA
#include <jni.h>
#include <pthread.h>

static JavaVM* machine;
static jclass host;
static jmethodID reply;
static pthread_key_t attached; /* detaches a thread that ends */

static void detach(void*) {
  (*machine)->DetachCurrentThread(machine);
}

static void replyToJava(const QVLDeflectionResponse*, const QVLError*, void*) {
  void* environment = NULL;
  (*machine)->AttachCurrentThread(machine, &environment, NULL);
  pthread_setspecific(attached, machine);
  JNIEnv* java = environment;
  (*java)->CallStaticVoidMethod(java, host, reply);
  ask();
}

JNIEXPORT void JNICALL Java_Ends_begin(JNIEnv* java, jclass self, jstring url,
                                       jstring certificates) {
  (*java)->GetJavaVM(java, &machine);
  host = (*java)->NewGlobalRef(java, self);
  reply = (*java)->GetStaticMethodID(java, self, "reply", "()V");
  pthread_key_create(&attached, detach);
  begin((*java)->GetStringUTFChars(java, url, NULL),
        (*java)->GetStringUTFChars(java, certificates, NULL), replyToJava);
}

JNIEXPORT void JNICALL Java_Ends_terminate(JNIEnv*, jclass) {
  kill(getpid(), SIGTERM);
}

#else
#include <node_api.h>

static napi_threadsafe_function reply;

static void replyToNode(const QVLDeflectionResponse*, const QVLError*, void*) {
  napi_call_threadsafe_function(reply, NULL, napi_tsfn_blocking);
  ask();
}

static void shutDown(void*) {
  QVLQuorvel_shutDown(60000);
}

static napi_value beginInNode(napi_env node, napi_callback_info call) {
  napi_value arguments[3];
  size_t count = 3;
  char url[100];
  char certificates[1000];
  napi_value name = NULL;
  napi_get_cb_info(node, call, &count, arguments, NULL, NULL);
  napi_get_value_string_utf8(node, arguments[0], url, sizeof url, NULL);
  napi_get_value_string_utf8(node, arguments[1], certificates, sizeof certificates, NULL);
  napi_create_string_utf8(node, "reply", NAPI_AUTO_LENGTH, &name);
  napi_create_threadsafe_function(node, arguments[2], NULL, name, 0, 1, NULL, NULL, NULL, NULL,
                                  &reply);
  napi_unref_threadsafe_function(node, reply);     /* it does not keep the process alive */
  napi_add_env_cleanup_hook(node, shutDown, NULL); /* before that function goes */
  begin(url, certificates, replyToNode);
  return NULL;
}

NAPI_MODULE_INIT() {
  (void)exports;
  napi_value function = NULL;
  napi_create_function(env, "begin", NAPI_AUTO_LENGTH, beginInNode, NULL, &function);
  return function;
}
#endif
