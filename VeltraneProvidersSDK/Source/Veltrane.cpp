#include "KnowledgeBase.h"
#include "SharedInstance.h"

#include <PellixPlatform/internal/FatalError.h>
#include <QuorvelCoreSDK/internal/CachedDocument.h>
#include <VeltraneProvidersSDK/Veltrane.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <mutex>
#include <utility>

namespace VeltraneProvidersSDK {

struct Veltrane::State {
  const std::shared_ptr<QuorvelCoreSDK::Quorvel> quorvel;
  const std::shared_ptr<QuorvelCoreSDK::CachedDocument> settings;
  mutable std::mutex mutex;
  std::optional<std::string> localeOverride;
};

namespace {

using QuorvelCoreSDK::CachedDocument;

struct Shared {
  std::mutex mutex;
  std::shared_ptr<Veltrane> instance;
};

Shared& shared() {
  static auto& slot = *new Shared;  // leaked: other threads may ask while the process ends
  return slot;
}

std::shared_ptr<CachedDocument> keptSettings(const QuorvelCoreSDK::Quorvel& quorvel) {
  return CachedDocument::make({.environment = quorvel.accountDetails(),
                               .path = std::string(ServicePaths::knowledgeSettings),
                               .name = "The knowledge base's settings",
                               .withoutRecord = "there are none to use",
                               .clientHeaders = veltraneHeaders()});
}

}  // namespace

Veltrane::Veltrane(const std::shared_ptr<QuorvelCoreSDK::Quorvel>& quorvel)
    : state_(new State{.quorvel = quorvel, .settings = keptSettings(*quorvel)}) {}
Veltrane::~Veltrane() = default;

std::shared_ptr<Veltrane> Veltrane::initialize(
    const std::shared_ptr<QuorvelCoreSDK::Quorvel>& quorvel) {
  if (!quorvel) PellixPlatform::fatalError("Veltrane::initialize needs a core instance");
  std::shared_ptr<Veltrane> instance(new Veltrane(quorvel));
  setSharedInstance(instance);
  return instance;
}

std::shared_ptr<Veltrane> Veltrane::instance() {
  auto& slot = shared();
  const std::lock_guard lock(slot.mutex);
  return slot.instance;
}

void setSharedInstance(std::shared_ptr<Veltrane> instance) {
  auto& slot = shared();
  const std::lock_guard lock(slot.mutex);
  std::swap(slot.instance, instance);  // the earlier one goes after the lock does
}

std::optional<std::string> Veltrane::lumenoLocaleOverride() const {
  const std::lock_guard lock(state_->mutex);
  return state_->localeOverride;
}

void Veltrane::setLumenoLocaleOverride(std::optional<std::string> locale) {
  const std::lock_guard lock(state_->mutex);
  state_->settings->setIsPrepared(!locale);  // nobody asks for the knowledge base's own then
  state_->localeOverride = std::move(locale);
}

const std::shared_ptr<QuorvelCoreSDK::Quorvel>& Veltrane::quorvel() const {
  return state_->quorvel;
}

const std::shared_ptr<CachedDocument>& Veltrane::lumenoSettings() const {
  return state_->settings;
}

}  // namespace VeltraneProvidersSDK
