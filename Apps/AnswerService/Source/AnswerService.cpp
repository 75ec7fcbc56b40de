#include "AnswerService.h"

#include "Articles.h"
#include "Certificate.h"
#include "Checks.h"
#include "Database.h"
#include "LoopbackServer.h"
#include "Misbehaviour.h"
#include "RecordStore.h"
#include "Routes.h"

#include <fmt/format.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

namespace AnswerService {

/// Each of them borrows from those above it.
struct Service::Parts {
  explicit Parts(Options given) : options(std::move(given)) {
    if (options.token.empty()) options.token = randomToken();
    if (!options.tls) return;
    certificate.emplace(options.certificateValidFrom, options.certificateValidUntil,
                        options.certificateNames);
  }

  Options options;
  std::optional<Certificate> certificate;
  Database database{options.databaseFile};
  const Articles articles{database, options.defaultLocale};
  RecordStore store{database};
  Misbehaviours misbehaviours;
  const Context context{options, articles, store, misbehaviours};

  std::mutex running;  ///< Held through a whole start or stop.
  std::atomic<int> port = 0;
  std::unique_ptr<LoopbackServer> server;
};

Service::Service(Options options) : parts_(std::make_unique<Parts>(std::move(options))) {}

Service::~Service() {
  stop();
}

void Service::start(int port) {
  const std::lock_guard lock(parts_->running);
  if (parts_->server) throw std::runtime_error("The service is started already.");
  SSL_CTX* const tls = parts_->certificate ? parts_->certificate->context() : nullptr;
  auto server = std::make_unique<LoopbackServer>(tls);
  addRoutes(*server, parts_->context);
  parts_->misbehaviours.allowDelays(true);
  parts_->port = server->listenOn(port);
  parts_->server = std::move(server);
}

void Service::stop() {
  const std::lock_guard lock(parts_->running);
  if (!parts_->server) return;
  parts_->misbehaviours.allowDelays(false);
  parts_->server.reset();
}

std::string Service::baseUrl() const {
  return fmt::format("{}://127.0.0.1:{}", parts_->options.tls ? "https" : "http",
                     parts_->port.load());
}

const std::string& Service::token() const {
  return parts_->options.token;
}

Record Service::record() const {
  return recordFrom(parts_->store.read());
}

void Service::setMisbehaviour(std::string_view endpoint, std::string_view what) {
  parts_->misbehaviours.set(endpoint, what);
}

void Service::clearMisbehaviours() {
  parts_->misbehaviours.clear();
}

std::string Service::certificatePem() const {
  return parts_->certificate ? parts_->certificate->pem() : std::string();
}

}  // namespace AnswerService
