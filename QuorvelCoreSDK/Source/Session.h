#pragma once

#include <QuorvelCoreSDK/Configuration.h>

#include <condition_variable>
#include <mutex>

namespace QuorvelCoreSDK {

/// What the requests of one core instance share: transport, token, and how much is under way.
class Session {
 public:
  Session(std::shared_ptr<Transport> transport, TokenSupplier token,
          std::chrono::milliseconds timeToLive)
      : transport_(std::move(transport)), token_(std::move(token)), timeToLive_(timeToLive) {}

  [[nodiscard]] Transport& transport() const { return *transport_; }

  [[nodiscard]] std::optional<std::string> token() const {
    return token_ ? token_() : std::nullopt;
  }

  /// How long settings documents are kept.
  [[nodiscard]] std::chrono::milliseconds timeToLive() const { return timeToLive_; }

  /// Counts something as under way until the last copy of the result is gone.
  [[nodiscard]] static std::shared_ptr<void> begin(const std::shared_ptr<Session>& session);

  /// Runs `task` on the transport's thread, not within this call. It counts as under way.
  static void post(const std::shared_ptr<Session>& session, std::function<void()> task);

  bool waitUntilIdle(std::chrono::milliseconds limit);

 private:
  void end();

  const std::shared_ptr<Transport> transport_;
  const TokenSupplier token_;
  const std::chrono::milliseconds timeToLive_;
  std::mutex mutex_;
  std::condition_variable idle_;
  std::size_t underWay_ = 0;
};

}  // namespace QuorvelCoreSDK
