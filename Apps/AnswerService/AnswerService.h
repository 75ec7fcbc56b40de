#pragma once

#include "Record.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace AnswerService {

/// How a service is set up. Fixed for the life of the Service.
struct Options {
  /// The bearer token that clients must send. Empty: one is made at random, see Service::token().
  std::string token;
  std::string defaultLocale = "en-us";

  /// A file keeps the record from one run to the next.
  std::string databaseFile = ":memory:";

  bool tls = false;
  /// Relative to the moment the Service is made; an "until" in the past makes an expired one.
  std::chrono::seconds certificateValidFrom = -std::chrono::hours(1);
  std::chrono::seconds certificateValidUntil = std::chrono::hours(24 * 30);
  /// The hosts it is for, as a subject alternative name is written.
  std::string certificateNames = "DNS:localhost,IP:127.0.0.1,IP:::1";

  /// One line for each request, without a newline and never with a token. Called on the threads
  /// that serve requests; calls may overlap. Released with the Service.
  std::function<void(std::string_view line)> log = nullptr;
};

/// An account's answer service on a loopback socket of this process. It answers requests for
/// localhost, 127.0.0.1 and [::1] with its own port only, so that no web page reaches it under a
/// name of its own.
///
/// Thread safety: every member may be called from any thread at any time.
///
/// Errors: what fails for a reason outside the program (the port is in use, the database file
/// cannot be opened) throws std::runtime_error with a sentence for people; an endpoint or
/// misbehaviour that does not exist throws std::invalid_argument.
class Service {
 public:
  explicit Service(Options options = {});
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  /// Listens on 127.0.0.1; when this returns, connections are answered. Port 0 takes a free one.
  /// A stopped service may be started again, on the same port or another; its record goes on.
  void start(int port = 0);

  /// Ends open connections and waits for the requests under way; idle connections and delayed
  /// answers do not hold it up. Does nothing when not started.
  void stop();

  /// "http://127.0.0.1:PORT", or https with TLS. No slash at the end; the latest port, or 0.
  [[nodiscard]] std::string baseUrl() const;

  [[nodiscard]] const std::string& token() const;
  [[nodiscard]] Record record() const;

  /// Makes one endpoint misbehave from the next request on: "disabled", "status:N", "delay:MS",
  /// "truncated", "malformed", "none" or "body:TEXT". Replaces what was set for it before.
  void setMisbehaviour(std::string_view endpoint, std::string_view what);
  void clearMisbehaviours();

  /// The self-signed certificate for clients to trust; empty without TLS.
  [[nodiscard]] std::string certificatePem() const;

 private:
  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

}  // namespace AnswerService
