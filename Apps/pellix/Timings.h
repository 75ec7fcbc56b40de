#pragma once

#include <QuorvelCoreSDK/Transport.h>

#include <mutex>

namespace PellixApp {

/// Hands requests on to another transport, and keeps what each of them took.
class TimingTransport final : public QuorvelCoreSDK::Transport {
 public:
  explicit TimingTransport(std::shared_ptr<Transport> inner) : inner_(std::move(inner)) {}

  void send(QuorvelCoreSDK::TransportRequest request, Completion completion) override;
  void post(std::function<void()> task) override { inner_->post(std::move(task)); }

  /// Writes a line for each request that has ended to standard error.
  void print() const;

 private:
  struct Lines {
    std::mutex mutex;
    std::string text;
  };

  const std::shared_ptr<Transport> inner_;
  const std::shared_ptr<Lines> lines_ = std::make_shared<Lines>();
};

}  // namespace PellixApp
