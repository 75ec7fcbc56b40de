#include "Bridge/Handles.h"

#include <PellixPlatform/internal/Bridge/HTTPURLResponseHandle.h>
#include <PellixPlatform/internal/Bridge/Text.h>
#include <PellixPlatform/internal/FatalError.h>

using namespace PellixPlatform::Bridge;

const QVLHTTPURLResponse* QVLPellixDispatcherResponse_response(
    const QVLPellixDispatcherResponse* response) {
  return handleOf<const QVLHTTPURLResponse>(objectOf(response, __func__).response().get());
}

const uint8_t* QVLPellixDispatcherResponse_data(const QVLPellixDispatcherResponse* response,
                                                size_t* length) {
  const auto& data = objectOf(response, __func__).data();
  const char* bytes = data ? lend(*data, length) : lendNothing(length);
  return reinterpret_cast<const uint8_t*>(bytes);
}

bool QVLPellixDispatcherResponse_isEqual(const QVLPellixDispatcherResponse* response,
                                         const QVLObject* other) {
  return objectOf(response, __func__).isEqual(anyObject(other));
}

void QVLPellixDispatcherResponse_init() {
  PellixPlatform::fatalUnimplementedInitializer("PellixProvidersSDK.PellixDispatcherResponse",
                                                "init()");
}
