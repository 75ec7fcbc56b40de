#pragma once

#include "KeptDocuments.h"

#include <QuorvelCoreSDK/internal/Surroundings.h>

#include <condition_variable>
#include <mutex>

namespace QuorvelCoreSDK {

/// What the requests of one core instance share: transport, token, and how much is under way.
class Session {
 public:
  struct Parameters {
    std::shared_ptr<Transport> transport;
    PellixPlatform::URL accountUrl;
    TokenSupplier token;
    std::chrono::milliseconds settingsTimeToLive;
    std::chrono::milliseconds settingsTimeout;
    std::size_t maxSettingsBytes;
    Surroundings surroundings;
  };

  explicit Session(Parameters parameters) : parameters_(std::move(parameters)) {}

  [[nodiscard]] Transport& transport() const { return *parameters_.transport; }

  /// Whose origin alone may see the token.
  [[nodiscard]] const PellixPlatform::URL& accountUrl() const { return parameters_.accountUrl; }

  [[nodiscard]] std::optional<std::string> token() const {
    return parameters_.token ? parameters_.token() : std::nullopt;
  }

  /// How long settings documents are kept.
  [[nodiscard]] std::chrono::milliseconds settingsTimeToLive() const {
    return parameters_.settingsTimeToLive;
  }
  /// How long fetching one may take.
  [[nodiscard]] std::chrono::milliseconds settingsTimeout() const {
    return parameters_.settingsTimeout;
  }
  /// How many bytes one may have.
  [[nodiscard]] std::size_t maxSettingsBytes() const { return parameters_.maxSettingsBytes; }

  [[nodiscard]] const Surroundings& surroundings() const { return parameters_.surroundings; }

  [[nodiscard]] KeptDocuments& documents() { return documents_; }

  /// Counts as under way, each copy for itself, until it is gone or moved from.
  class UnderWay {
   public:
    explicit UnderWay(std::shared_ptr<Session> session);
    UnderWay(const UnderWay& other) : UnderWay(other.session_) {}
    UnderWay(UnderWay&& other) noexcept = default;
    UnderWay& operator=(UnderWay other) = delete;
    ~UnderWay();

   private:
    std::shared_ptr<Session> session_;  // null once moved from
  };

  /// Runs `task` on the transport's thread, not within this call. It counts as under way.
  static void post(const std::shared_ptr<Session>& session, std::function<void()> task);

  bool waitUntilIdle(std::chrono::milliseconds limit);

 private:
  const Parameters parameters_;
  KeptDocuments documents_;
  std::mutex mutex_;
  std::condition_variable idle_;
  std::size_t underWay_ = 0;
};

}  // namespace QuorvelCoreSDK
