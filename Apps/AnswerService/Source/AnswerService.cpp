#include "AnswerService.h"

#include "ArticleIndex.h"
#include "Certificate.h"
#include "Database.h"
#include "Endpoints.h"
#include "Handlers.h"
#include "LoopbackServer.h"
#include "Misbehaviour.h"
#include "RecordStore.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace AnswerService {
namespace {

void send(const Reply& reply, httplib::Response& response) {
  response.status = reply.status;
  if (reply.challenge) response.set_header("WWW-Authenticate", *reply.challenge);
  if (reply.body) response.set_content(*reply.body, "application/json");
}

Reply replyTo(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const Refusal& refusal) {
    return refusal.reply();
  } catch (const std::exception& error) {
    return errorReply(500, "failed", error.what());
  }
}

/// The path is a client's own text, and a line of the log must stay one line.
std::string logLine(const httplib::Request& request, const httplib::Response& response) {
  std::string path = request.path;
  std::ranges::replace_if(path, [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
  return fmt::format("{} {} {}", request.method, path, response.status);
}

}  // namespace

class Service::Implementation {
 public:
  explicit Implementation(Options options)
      : options_(std::move(options)),
        database_(options_.databaseFile),
        articles_(database_, options_.defaultLocale),
        store_(database_),
        handlers_(options_.applicationId, options_.defaultLocale, articles_, store_) {
    if (options_.tls) {
      certificate_.emplace(options_.certificateValidFrom, options_.certificateValidUntil,
                           options_.certificateNames);
    }
    counts_[std::string(kRecordEndpoint)] = 0;
    for (const Endpoint& endpoint : endpoints()) counts_[std::string(endpoint.name)] = 0;
  }

  void start(int port) {
    const std::lock_guard lock(running_);
    if (server_) throw std::runtime_error("The service is started already.");
    auto server = std::make_unique<LoopbackServer>(certificate_ ? &*certificate_ : nullptr);
    addRoutes(*server);
    setStopping(false);
    port_ = server->listenOn(port);
    server_ = std::move(server);
  }

  void stop() {
    const std::lock_guard lock(running_);
    if (!server_) return;
    setStopping(true);
    server_->shutDown();
    server_.reset();
  }

  int port() const { return port_; }

  std::string baseUrl() const {
    return fmt::format("{}://127.0.0.1:{}", options_.tls ? "https" : "http", port());
  }

  Record record() const {
    Record record = store_.read();
    const std::lock_guard lock(mutex_);
    record.requests = counts_;
    return record;
  }

  void setMisbehaviour(std::string_view endpoint, std::string_view what) {
    checkEndpointName(endpoint);
    Misbehaviour parsed = parseMisbehaviour(endpoint, what);
    const std::lock_guard lock(mutex_);
    misbehaviours_.insert_or_assign(std::string(endpoint), std::move(parsed));
  }

  void clearMisbehaviours() {
    const std::lock_guard lock(mutex_);
    misbehaviours_.clear();
  }

  std::string certificatePem() const { return certificate_ ? certificate_->pem() : std::string(); }

 private:
  void addRoutes(LoopbackServer& server) {
    for (const Endpoint& endpoint : endpoints()) {
      auto route = [this, &endpoint](const httplib::Request& request, httplib::Response& response) {
        answer(endpoint.name, response, [&] { return carryOut(endpoint, request); });
      };
      const std::string path(endpoint.path);
      endpoint.method == "GET" ? server.Get(path, route) : server.Post(path, route);
    }
    server.Get(std::string(kRecordPath), [this](const httplib::Request&, httplib::Response& reply) {
      answer(kRecordEndpoint, reply, [this] { return jsonReply(200, toJson(record()), 2); });
    });
    server.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
      // Only for what never reached an endpoint; their own errors have a body.
      if (!response.body.empty()) return;
      const bool unknownPath = response.status == 404;
      send(errorReply(response.status, unknownPath ? "not_found" : "unreadable_request",
                      unknownPath ? fmt::format("No {} request is served here.", request.method)
                                  : "The request cannot be read, or is too large."),
           response);
    });
    server.set_logger([this](const httplib::Request& request, const httplib::Response& response) {
      if (options_.log) options_.log(logLine(request, response));
    });
  }

  template <typename CarryOut>
  void answer(std::string_view name, httplib::Response& response, const CarryOut& carryOut) {
    const std::optional<Misbehaviour> misbehaviour = count(name);
    if (misbehaviour) waitFor(*misbehaviour);
    Reply reply;
    if (!misbehaviour || carriesOutRequest(*misbehaviour)) {
      try {
        reply = carryOut();
      } catch (...) {
        reply = replyTo(std::current_exception());
      }
    }
    send(misbehaviour ? spoil(*misbehaviour, std::move(reply)) : reply, response);
  }

  Reply carryOut(const Endpoint& endpoint, const httplib::Request& request) const {
    if (endpoint.needsToken) {
      checkBearer(request.get_header_value("Authorization"), options_.token);
    }
    Call call;
    if (request.matches.size() > 1) call.pathPart = request.matches[1];
    if (!endpoint.members.empty()) {
      checkContentType(request.get_header_value("Content-Type"));
      call.body = parseObject(request.body, endpoint.members);
    }
    return (handlers_.*endpoint.handler)(call);
  }

  std::optional<Misbehaviour> count(std::string_view name) {
    const std::lock_guard lock(mutex_);
    ++counts_[std::string(name)];
    const auto found = misbehaviours_.find(name);
    if (found == misbehaviours_.end()) return std::nullopt;
    return found->second;
  }

  void waitFor(const Misbehaviour& misbehaviour) {
    if (misbehaviour.kind != Misbehaviour::Kind::Delay) return;
    std::unique_lock lock(mutex_);
    stopped_.wait_for(lock, std::chrono::milliseconds(misbehaviour.number),
                      [this] { return stopping_; });
  }

  void setStopping(bool stopping) {
    const std::lock_guard lock(mutex_);
    stopping_ = stopping;
    stopped_.notify_all();
  }

  const Options options_;
  std::optional<Certificate> certificate_;
  mutable Database database_;
  ArticleIndex articles_;
  RecordStore store_;
  const Handlers handlers_;

  mutable std::mutex mutex_;  ///< For what follows, up to stopping_.
  std::map<std::string, std::int64_t> counts_;
  std::map<std::string, Misbehaviour, std::less<>> misbehaviours_;
  std::condition_variable stopped_;
  bool stopping_ = false;

  std::mutex running_;  ///< Held through a whole start or stop.
  std::atomic<int> port_ = 0;
  std::unique_ptr<LoopbackServer> server_;
};

Service::Service(Options options)
    : implementation_(std::make_unique<Implementation>(std::move(options))) {}

Service::~Service() {
  stop();
}

void Service::start(int port) {
  implementation_->start(port);
}
void Service::stop() {
  implementation_->stop();
}
int Service::port() const {
  return implementation_->port();
}
std::string Service::baseUrl() const {
  return implementation_->baseUrl();
}
Record Service::record() const {
  return implementation_->record();
}

void Service::setMisbehaviour(std::string_view endpoint, std::string_view what) {
  implementation_->setMisbehaviour(endpoint, what);
}

void Service::clearMisbehaviours() {
  implementation_->clearMisbehaviours();
}
std::string Service::certificatePem() const {
  return implementation_->certificatePem();
}

}  // namespace AnswerService
