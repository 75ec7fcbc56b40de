#pragma once

#include <QuorvelCoreSDK/Transport.h>

#include <mutex>
#include <vector>

namespace PellixApp {

/// A request, and what it took once it has ended.
struct TimedRequest {
  std::string path;
  std::chrono::steady_clock::time_point began;
  std::optional<QuorvelCoreSDK::TransportFigures> figures;
};

/// Hands requests on to another transport, and keeps what each of them took.
class TimingTransport final : public QuorvelCoreSDK::Transport {
 public:
  explicit TimingTransport(std::shared_ptr<Transport> inner) : inner_(std::move(inner)) {}

  void send(QuorvelCoreSDK::TransportRequest request, Completion completion) override;
  void post(std::function<void()> task) override { inner_->post(std::move(task)); }

  /// A table with a column for each request, in the order of their beginnings.
  [[nodiscard]] std::string table() const;

  /// What the latest request took that has ended.
  [[nodiscard]] std::optional<QuorvelCoreSDK::TransportFigures> latest() const;

 private:
  struct Requests {
    std::mutex mutex;
    std::vector<TimedRequest> all;
  };

  const std::shared_ptr<Transport> inner_;
  const std::shared_ptr<Requests> requests_ = std::make_shared<Requests>();
};

}  // namespace PellixApp
