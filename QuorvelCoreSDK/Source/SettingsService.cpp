#include "SettingsService.h"

#include <QuorvelCoreSDK/internal/ServicePaths.h>

#include <utility>

namespace QuorvelCoreSDK {

SettingsProvider::~SettingsProvider() = default;

std::optional<SettingsFailure> SettingsProvider::lastFailure() const {
  return std::nullopt;
}

SettingsService::SettingsService(AccountDetails account)
    : document_(CachedDocument::make(
          {.environment = std::move(account),
           .path = std::string(ServicePaths::accountSettings),
           .name = "The account's settings",
           .withoutRecord = "the default is used instead",
           .clientHeaders = makeClientHeaders("QuorvelCore", QUORVEL_CORE_VERSION),
           .comesAlong = true})) {}

std::optional<SettingsFailure> SettingsService::lastFailure() const {
  return document_->lastFailure();
}

void SettingsService::answer(RecordType type, Continuation continuation) {
  document_->get(type, std::exchange(continuation, nullptr));
}

}  // namespace QuorvelCoreSDK
