#pragma once

#include "Network.h"

#include <QuorvelCoreSDK/Transport.h>

namespace QuorvelCoreSDK {

/// HTTP by libcurl, on the one worker thread of the process.
class CurlTransport final : public Transport {
 public:
  explicit CurlTransport(Network network);

  void send(TransportRequest request, Completion completion) override;
  void post(std::function<void()> task) override;

 private:
  const std::shared_ptr<const Network> network_;
};

}  // namespace QuorvelCoreSDK
