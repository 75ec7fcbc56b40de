#include "SettingsService.h"

#include "CoreHeaders.h"

#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/ServicePaths.h>

#include <utility>

namespace QuorvelCoreSDK {

SettingsProvider::~SettingsProvider() = default;

SettingsService::SettingsService(AccountDetails account)
    : document_(std::make_shared<CachedDocument>(
          CachedDocument::Parameters{.environment = std::move(account),
                                     .path = std::string(ServicePaths::accountSettings),
                                     .name = "The account's settings",
                                     .clientHeaders = coreHeaders()})) {}

void SettingsService::answer(RecordType type, Continuation continuation) {
  document_->get([type, continuation =
                            std::move(continuation)](const CachedDocument::Document& document) {
    if (!document) return continuation(type.makeDefault());
    auto record = type.decode(*document);
    if (!record) {
      CoreLogger::warn("The account's settings could not be used; the default is used instead. " +
                       record.error().description());
    }
    continuation(record ? *std::move(record) : type.makeDefault());
  });
}

}  // namespace QuorvelCoreSDK
