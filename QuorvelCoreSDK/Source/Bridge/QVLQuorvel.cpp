#include "../Deadline.h"
#include "../PendingCall.h"
#include "ConfigurationObject.h"

#include <PellixPlatform/internal/Bridge/Callbacks.h>
#include <PellixPlatform/internal/Bridge/ErrorObject.h>
#include <PellixPlatform/internal/Bridge/Text.h>
#include <QuorvelCoreSDK/internal/QuorvelHandle.h>

#include <utility>

using namespace PellixPlatform::Bridge;
using QuorvelCoreSDK::PendingCalls;
using QuorvelCoreSDK::Quorvel;

QVLQuorvel* QVLQuorvel_initialize(const char* accountUrl, size_t accountUrlLength,
                                  const char* applicationId, size_t applicationIdLength,
                                  const char* clientId, size_t clientIdLength,
                                  const QVLQuorvelConfiguration* configuration,
                                  const QVLError** error) {
  const auto url = textOf(accountUrl, accountUrlLength, __func__);
  const auto application = textOf(applicationId, applicationIdLength, __func__);
  const auto client = textOf(clientId, clientIdLength, __func__);
  const auto* chosen = configuration ? &objectOf(configuration, __func__).values : nullptr;
  QVLQuorvel* quorvel = nullptr;
  const QVLError* refusal = nullptr;
  withMemory([&] {
    auto made =
        Quorvel::initialize({std::string(url), std::string(application), std::string(client)},
                            chosen ? *chosen : QuorvelCoreSDK::Configuration());
    if (made) {
      quorvel = retained<QVLQuorvel>(*made);
    } else if (error) {
      refusal =
          retained<const QVLError>(std::make_shared<const ErrorObject>(std::move(made).error()));
    }
  });
  if (error) *error = refusal;
  return quorvel;
}

QVLQuorvel* QVLQuorvel_instance() {
  QVLQuorvel* quorvel = nullptr;
  withMemory([&] {
    if (const auto instance = Quorvel::instance()) quorvel = retained<QVLQuorvel>(instance);
  });
  return quorvel;
}

bool QVLQuorvel_prepare(const QVLQuorvel* quorvel) {
  const auto& self = objectOf(quorvel, __func__);
  return withMemory([&] { self.prepare(); });
}

const QVLError* QVLQuorvel_lastSettingsFailure(const QVLQuorvel* quorvel, int64_t* time) {
  const auto& self = objectOf(quorvel, __func__);
  const QVLError* error = nullptr;
  withMemory([&] {
    auto failure = self.lastSettingsFailure();
    if (!failure) return;
    error =
        retained<const QVLError>(std::make_shared<const ErrorObject>(std::move(failure->error)));
    const auto since1970 = failure->time.time_since_epoch();
    if (time) *time = std::chrono::floor<std::chrono::milliseconds>(since1970).count();
  });
  return error;
}

bool QVLQuorvel_waitUntilIdle(const QVLQuorvel* quorvel, int64_t milliseconds) {
  return objectOf(quorvel, __func__).waitUntilIdle(std::chrono::milliseconds(milliseconds));
}

bool QVLQuorvel_shutDown(int64_t milliseconds) {
  const std::chrono::milliseconds limit(milliseconds);
  const auto deadline = QuorvelCoreSDK::deadlineAfter(limit);
  const CallsHere here;
  const bool isDown = Quorvel::shutDown(limit);
  if (PendingCalls::isInChild()) return isDown;  // what waits is the parent's
  return releaseWaitingCalls(deadline) && isDown;
}
