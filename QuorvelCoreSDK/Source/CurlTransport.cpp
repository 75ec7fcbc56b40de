#include "CurlTransport.h"

#include "CurlWorker.h"
#include "Header.h"
#include "PendingCall.h"
#include "SecureURL.h"

#include <PellixPlatform/DispatchQueue.h>
#include <QuorvelCoreSDK/CoreError.h>

#include <algorithm>
#include <system_error>

namespace QuorvelCoreSDK {

std::expected<std::shared_ptr<Transport>, PellixPlatform::Error> makeTransport(
    NetworkConfiguration network) {
  auto made = makeNetwork(std::move(network));
  if (!made) return std::unexpected(std::move(made).error());
  return std::make_shared<CurlTransport>(*std::move(made));
}

CurlTransport::CurlTransport(Network network)
    : network_(std::make_shared<const Network>(std::move(network))) {}

void CurlTransport::send(TransportRequest request, Completion completion) {
  if (!PendingCalls::areAccepted()) return;
  // A host's own transport may have changed them.
  const auto refuse = [&](CoreErrorCode code) {
    post(
        [completion = std::move(completion), code] { completion({.error = makeCoreError(code)}); });
  };
  if (!isSecure(request.url)) return refuse(CoreErrorCode::insecureUrl);
  if (!std::ranges::all_of(request.headers, isHeader)) return refuse(CoreErrorCode::invalidHeader);
  try {
    auto& worker = CurlWorker::shared();
    worker.add(std::make_unique<CurlTransfer>(std::move(request), std::move(completion), network_));
  } catch (const std::system_error& failure) {
    // Without a worker there is no thread but the main queue's.
    PellixPlatform::DispatchQueue::main().post(
        [completion = std::move(completion),
         error = makeCoreError(CoreErrorCode::transportFailed, failure.what())] {
          completion({.error = error});
        });
  }
}

void CurlTransport::post(std::function<void()> task) {
  if (!PendingCalls::areAccepted()) return;
  try {
    auto& worker = CurlWorker::shared();
    worker.post(std::move(task));
  } catch (const std::system_error&) {
    PellixPlatform::DispatchQueue::main().post(std::move(task));
  }
}

}  // namespace QuorvelCoreSDK
