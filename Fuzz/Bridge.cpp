// A host in C that does what the input says: each byte is a step, with its arguments behind it. All
// that it does is allowed, if odd, so nothing may fail; what it is given it keeps as it likes.

#include "Fuzz.h"
#include "QuorvelCoreSDK/Source/SharedInstance.h"
#include "VeltraneProvidersSDK/Source/SharedInstance.h"

#include <PellixProvidersSDK/DeflectionResponse.h>
#include <PellixProvidersSDK/QVLPellix.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/Veltrane.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>

namespace {

using Fuzz::require;
using QuorvelCoreSDK::Testing::ScriptedTransport;
using QuorvelPointer = std::shared_ptr<QuorvelCoreSDK::Quorvel>;

QuorvelPointer makeQuorvel(const std::shared_ptr<ScriptedTransport>& transport,
                           const std::string& application) {
  return QuorvelCoreSDK::Quorvel::initialize({"https://acme.example", application, "client"},
                                             {.token = [] { return "secret"; },
                                              .settingsTimeToLive = std::chrono::milliseconds(0),
                                              .transport = transport})
      .value();
}

/// What C sees of a core, which it can't give a transport of its own.
QVLQuorvel* seen(const QuorvelPointer& quorvel) {
  const PellixPlatform::Object* object = quorvel.get();
  return static_cast<QVLQuorvel*>(const_cast<void*>(static_cast<const void*>(object)));
}

std::string articleTitled(const std::string& title) {
  return R"({"deflection":{"id":7,"auth_token":""},"deflection_articles":[{"id":1,"title":")" +
         title +
         R"(","html_url":"","url":"","label_names":["a",""],"body":"","article_id":2,"locale":"",)"
         R"("brand_id":3,"score":0.5,"snippet":""}],"interaction_access_token":"t"})";
}

class Host {
 public:
  /// At first, the feature is enabled and every question has an answer.
  explicit Host(std::string_view input) : input_(input) {
    transport_->answer("/account/settings", 200, R"({"pellix":{"enabled":true}})");
    transport_->answer("/interactions", 200, articleTitled("Resetting"));
    start();
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  void play() {
    static constexpr void (Host::* steps[])() = {
        &Host::ask,    &Host::ask,    &Host::report,    &Host::getSettings,
        &Host::answer, &Host::answer, &Host::run,       &Host::run,
        &Host::look,   &Host::look,   &Host::retain,    &Host::release,
        &Host::choose, &Host::start,  &Host::configure, &Host::listen};
    while (!input_.isEmpty()) (this->*steps[input_.byte() % std::size(steps)])();
  }

  /// Lets everything end, gives everything back, and checks that nothing is left of it.
  ~Host() {
    transport_->settle();
    QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
    QVLCoreLogger_setLevel(QVLLogLevelOff);
    QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
    for (const auto& context : contexts_) {
      require(context->releases == 1, "a context is released once, when what it was for has ended");
    }
    while (!held_.empty()) release();

    // The facade stays. It is set up for nobody, and so lets go of what it had.
    static const auto nobody = makeQuorvel(std::make_shared<ScriptedTransport>(), "nobody");
    QVLRelease(std::exchange(veltrane_, QVLVeltrane_initialize(seen(nobody))));
    QVLPellix_initializeWithQuorvel_veltrane(seen(nobody), veltrane_);
    QVLRelease(veltrane_);
    VeltraneProvidersSDK::setSharedInstance(nullptr);
    QuorvelCoreSDK::setSharedInstance(nullptr);
    quorvel_.reset();
    const std::weak_ptr<ScriptedTransport> transport = std::exchange(transport_, nullptr);
    require(transport.expired(), "nothing holds the host's transport when all has ended");
  }

 private:
  struct Context {
    Host* host;
    int calls = 0;
    int releases = 0;
  };

  /// A reference of the host's, and how it looks at what it refers to.
  struct Held {
    const QVLObject* object;
    void (*look)(Host& host, const QVLObject* object);
  };

  // ---- Arguments and callbacks ----

  std::int64_t integer() {
    constexpr std::int64_t odd[] = {0, 1, 2, 7, -1, INT64_MAX, INT64_MIN};
    return odd[input_.byte() % std::size(odd)];
  }

  /// Passes a text as C can: none at all, up to its NUL, or by its length, with a NUL or without.
  template <class Call>
  void withText(Call call) {
    const auto form = input_.byte() % 4;
    if (form == 0) return call(static_cast<const char*>(nullptr), std::size_t{0});
    auto text = input_.text();
    if (form == 1) return call(text.c_str(), QVL_UNTIL_NUL);
    if (form == 2) text.insert(text.size() / 2, 1, '\0');
    const std::vector<char> bytes(text.begin(), text.end());  // so many and no NUL behind them
    call(bytes.data(), bytes.size());
  }

  Context* newContext() {
    contexts_.push_back(std::make_unique<Context>(Context{this}));
    return contexts_.back().get();
  }

  static void releaseContext(void* context) { ++static_cast<Context*>(context)->releases; }

  static Host& called(void* context) {
    auto& self = *static_cast<Context*>(context);
    ++self.calls;
    require(self.releases == 0, "no callback runs after its context is released");
    return *self.host;
  }

  template <class Record>
  static void finish(const Record* record, const QVLError* error, void* context) {
    auto& host = called(context);
    require(static_cast<Context*>(context)->calls == 1, "an operation ends once");
    require((record == nullptr) != (error == nullptr), "an operation gives a record or an error");
    if (host.input_.byte() % 2) host.ask();  // within the callback
    record ? host.keep(record) : host.keep(error);
  }

  // ---- Steps ----

  void start() {
    const auto what = input_.byte();
    quorvel_ = makeQuorvel(transport_, "application " + std::to_string(what % 3));
    if (veltrane_) QVLRelease(veltrane_);
    veltrane_ = QVLVeltrane_initialize(seen(quorvel_));
    if (what >= 128) QVLPellix_initializeWithQuorvel_veltrane(nullptr, veltrane_);
    QVLPellix_initializeWithQuorvel_veltrane(seen(quorvel_), veltrane_);
  }

  static QVLPellixProvider* provider() { return QVLPellix_provider(QVLPellix_instance()); }

  void ask() {
    withText([&](const char* query, std::size_t length) {
      QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
          provider(), query, length, input_.byte() % 8 ? &finish<QVLDeflectionResponse> : nullptr,
          newContext(), releaseContext);
    });
  }

  void report() {
    auto reason = integer();
    if (QVLRejectionReason known = 0; QVLRejectionReason_initWithRawValue(reason, &known)) {
      reason = known;
    }
    const auto deflectionId = integer();
    withText([&](const char* token, std::size_t length) {
      QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
          provider(), deflectionId, 1, token, length, reason, &finish<QVLPellixDispatcherResponse>,
          newContext(), releaseContext);
      QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
          provider(), deflectionId, -1, token, length, &finish<QVLPellixDispatcherResponse>,
          newContext(), releaseContext);
    });
  }

  void getSettings() {
    const auto* const own = QVLPellixSettings_init();
    keep(own);
    QVLRelease(own);
    QVLPellixSettingsProvider_getSettingsWithCallback(
        [](const QVLPellixSettings* settings, void* context) { called(context).keep(settings); },
        newContext(), releaseContext);
    if (const auto* const failure = QVLQuorvel_lastSettingsFailure(seen(quorvel_), nullptr)) {
      keep(failure);
      QVLRelease(failure);
    }
  }

  /// Says what the next requests are answered with.
  void answer() {
    static constexpr const char* paths[] = {
        "/interactions",     "/resolutions",           "/rejections",
        "/account/settings", "/knowledge/v1/settings", "/votes/up"};
    static constexpr int statuses[] = {200, 200, 204, 404, 999, -1, 0};
    const auto* const path = paths[input_.byte() % std::size(paths)];
    const int status = statuses[input_.byte() % std::size(statuses)];
    const auto form = input_.byte() % 8;
    auto body = input_.text();
    if (form < 3) body = articleTitled(body);
    if (form == 3) body = R"({"pellix":{"enabled":true},"locale":")" + body + R"("})";
    QuorvelCoreSDK::TransportReply reply{
        .data = body,
        .response = std::make_shared<const PellixPlatform::HTTPURLResponse>(
            body, status,
            PellixPlatform::HTTPURLResponse::HeaderFields{{body, "1"}, {"Via", body}})};
    if (form == 5) reply.data.reset();
    if (form == 6)
      reply.error = PellixPlatform::Error(body, status, {{body, body}, {"line", status}});
    if (form == 7) reply.response = std::make_shared<const PellixPlatform::URLResponse>(body);
    transport_->answer(path, [reply](const auto&) { return reply; });
  }

  void run() {
    const auto what = input_.byte() % 6;
    if (what == 0) transport_->run();
    if (what == 1) QVLMainQueue_runPending();
    if (what == 2) transport_->settle();
    if (what == 3) QVLMainQueue_runFor(0);
    if (what == 4) QVLQuorvel_prepare(seen(quorvel_));
    if (what == 5) {
      QVLMainQueue_stop();
      QVLMainQueue_run();
    }
  }

  Held* someHeld() { return held_.empty() ? nullptr : &held_[input_.byte() % held_.size()]; }

  void look() {
    if (const auto* held = someHeld()) held->look(*this, held->object);
  }

  void retain() {
    if (const auto* held = someHeld()) {
      QVLRetain(held->object);
      held_.push_back(Held(*held));
    }
  }

  void release() {
    auto* const held = someHeld();
    if (!held) return;
    const auto* const object = std::exchange(*held, held_.back()).object;
    held_.pop_back();
    QVLRelease(object);
  }

  void choose() {
    withText([&](const char* locale, std::size_t length) {
      QVLVeltrane_setLumenoLocaleOverride(veltrane_, locale, length);
    });
  }

  /// Sets up a core in vain: no such address is accepted, so that nothing goes to the network.
  void configure() {
    auto* const configuration = QVLQuorvelConfiguration_init();
    const QVLError* error = nullptr;
    const QVLQuorvel* made = nullptr;
    const auto url = "http://acme.example/" + input_.text();
    QVLQuorvelConfiguration_setIgnoreProxyEnvironment(configuration, true);
    for (const auto set :
         {QVLQuorvelConfiguration_setConnectTimeout, QVLQuorvelConfiguration_setRequestTimeout,
          QVLQuorvelConfiguration_setSettingsTimeout,
          QVLQuorvelConfiguration_setSettingsTimeToLive}) {
      set(configuration, integer());
    }
    QVLQuorvelConfiguration_setMaxResponseBytes(configuration, input_.byte());
    withText([&](const char* text, std::size_t length) {
      QVLQuorvelConfiguration_setCertificateAuthorities(configuration, text, length);
      QVLQuorvelConfiguration_setProxy(configuration, text, length);
      QVLQuorvelConfiguration_setToken(configuration, text, length);
      QVLQuorvelConfiguration_setTokenSupplier(
          configuration, [](QVLTokenReceiver*, void*) {}, newContext(), releaseContext);
      made = QVLQuorvel_initialize(url.data(), url.size(), text, length, text, length,
                                   configuration, &error);
    });
    require(!made && error, "an address that is not secure is refused");
    keep(error);
    QVLRelease(error);
    QVLRelease(configuration);
  }

  void listen() {
    const auto what = input_.byte();
    char version[4];  // too short for it
    require(QVLPellix_version(version, sizeof version) > sizeof version, "a version has a length");
    QVLMainQueue_setWakeHook([](void* context) { called(context); }, newContext(), releaseContext);
    QVLCoreLogger_setSink([](int, const char*, std::size_t, void* context) { called(context); },
                          newContext(), releaseContext);
    QVLCoreLogger_setLevel(what % 8 - 1);
  }

  // ---- What the host looks at ----

  template <class Handle>
  void keep(const Handle* handle) {
    QVLRetain(handle);
    held_.push_back({handle, [](Host& host, const QVLObject* object) {
                       host.look(static_cast<const Handle*>(object));
                     }});
  }

  /// Reads borrowed texts, each with its NUL.
  template <class Handle>
  static void readAll(const Handle* object,
                      std::initializer_list<const char* (*)(const Handle*, std::size_t*)> texts) {
    for (const auto read : texts) {
      std::size_t length = 1;
      const char* const bytes = read(object, &length);
      require(bytes && bytes[length] == '\0', "a text has a NUL behind it");
    }
  }

  /// The record that a handle stands for.
  template <class Record, class Handle>
  static const Record& behind(const Handle* handle) {
    const void* const object = handle;
    return *static_cast<const Record*>(static_cast<const PellixPlatform::Object*>(object));
  }

  template <class Handle>
  void compare(bool (*isEqual)(const Handle*, const QVLObject*), const Handle* object) {
    require(isEqual(object, object) && !isEqual(object, nullptr), "a record equals itself alone");
    if (const auto* other = someHeld()) isEqual(object, other->object);
  }

  void look(const QVLDeflectionResponse* response) {
    readAll(response, {QVLDeflectionResponse_interactionAccessToken});
    compare(QVLDeflectionResponse_isEqual, response);
    keep(QVLDeflectionResponse_deflection(response));
    const auto count = QVLDeflectionResponse_deflectionArticles_count(response);
    if (count > 0) keep(QVLDeflectionResponse_deflectionArticles_at(response, count - 1));
  }

  void look(const QVLDeflection* deflection) {
    compare(QVLDeflection_isEqual, deflection);
    require(QVLDeflection_deflectionID(deflection) ==
                behind<PellixProvidersSDK::Deflection>(deflection).deflectionID(),
            "C reads what C++ does");
  }

  void look(const QVLDeflectionArticle* article) {
    readAll(article,
            {QVLDeflectionArticle_title, QVLDeflectionArticle_htmlURL, QVLDeflectionArticle_url,
             QVLDeflectionArticle_body, QVLDeflectionArticle_locale, QVLDeflectionArticle_snippet});
    compare(QVLDeflectionArticle_isEqual, article);
    const auto& own = behind<PellixProvidersSDK::DeflectionArticle>(article);
    require(QVLDeflectionArticle_id(article) == own.id() &&
                QVLDeflectionArticle_articleId(article) == own.articleId() &&
                QVLDeflectionArticle_brandId(article) == own.brandId() &&
                QVLDeflectionArticle_score(article) == own.score(),
            "C reads what C++ does");
    const auto count = QVLDeflectionArticle_labelNames_count(article);
    require(count == own.labelNames().size(), "C counts what C++ does");
    for (std::size_t i = 0; i < count; ++i) {
      std::size_t length = 0;
      const auto* const label = QVLDeflectionArticle_labelNames_at(article, i, &length);
      require(std::string_view(label, length) == own.labelNames()[i], "C reads what C++ does");
    }
  }

  void look(const QVLPellixDispatcherResponse* response) {
    std::size_t length = 0;
    const auto* const data = QVLPellixDispatcherResponse_data(response, &length);
    require(data ? data[length] == 0 : length == 0, "absent data has no length");
    compare(QVLPellixDispatcherResponse_isEqual, response);
    keep(QVLPellixDispatcherResponse_response(response));
  }

  void look(const QVLHTTPURLResponse* response) {
    readAll(response, {QVLHTTPURLResponse_url});
    compare(QVLHTTPURLResponse_isEqual, response);
    const auto* const status = QVLHTTPURLResponse_localizedStringForStatusCode(
        QVLHTTPURLResponse_statusCode(response), nullptr);
    require(status && *status, "every status has a text");
    for (std::size_t i = 0; i < QVLHTTPURLResponse_allHeaderFields_count(response); ++i) {
      std::size_t length = 0;
      const auto* const name = QVLHTTPURLResponse_allHeaderFields_nameAt(response, i, &length);
      require(QVLHTTPURLResponse_valueForHeaderField(response, name, length, nullptr) ==
                  QVLHTTPURLResponse_allHeaderFields_valueAt(response, i, nullptr),
              "a header field is found by its name");
    }
  }

  void look(const QVLError* error) {
    readAll(error, {QVLError_domain, QVLError_localizedDescription});
    static_cast<void>(QVLError_code(error));
    for (std::size_t i = 0; i < QVLError_userInfo_count(error); ++i) {
      std::size_t length = 0;
      const auto* const key = QVLError_userInfo_keyAt(error, i, &length);
      require((QVLError_userInfo_textForKey(error, key, length, nullptr) != nullptr) !=
                  QVLError_userInfo_integerForKey(error, key, length, nullptr),
              "a value is a text or an integer");
    }
  }

  void look(const QVLPellixSettings* settings) { QVLPellixSettings_enabled(settings); }

  Fuzz::Input input_;
  std::shared_ptr<ScriptedTransport> transport_ = std::make_shared<ScriptedTransport>();
  QuorvelPointer quorvel_;
  QVLVeltrane* veltrane_ = nullptr;
  std::vector<std::unique_ptr<Context>> contexts_;
  std::vector<Held> held_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  QVLCoreLogger_setLevel(QVLLogLevelOff);
  Host(Fuzz::textOf(data, size)).play();
  return 0;
}
