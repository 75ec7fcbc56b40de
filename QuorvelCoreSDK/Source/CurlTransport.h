#pragma once

#include <QuorvelCoreSDK/Configuration.h>

namespace QuorvelCoreSDK {

/// HTTP by libcurl, on the one worker thread of the process.
class CurlTransport final : public Transport {
 public:
  explicit CurlTransport(NetworkConfiguration configuration);

  void send(TransportRequest request, Completion completion) override;
  void post(std::function<void()> task) override;

 private:
  const std::shared_ptr<const NetworkConfiguration> configuration_;
};

}  // namespace QuorvelCoreSDK
