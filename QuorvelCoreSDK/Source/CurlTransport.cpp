#include "CurlTransport.h"

#include "CurlWorker.h"

namespace QuorvelCoreSDK {

CurlTransport::CurlTransport(NetworkConfiguration configuration)
    : configuration_(std::make_shared<const NetworkConfiguration>(std::move(configuration))) {}

void CurlTransport::send(TransportRequest request, Completion completion) {
  CurlWorker::shared().add(
      std::make_unique<CurlTransfer>(std::move(request), std::move(completion), configuration_));
}

void CurlTransport::post(std::function<void()> task) {
  CurlWorker::shared().post(std::move(task));
}

}  // namespace QuorvelCoreSDK
