#include "AccountAddress.h"
#include "CurlWorker.h"
#include "PendingCall.h"
#include "Session.h"
#include "SettingsService.h"
#include "SharedInstance.h"

#include <QuorvelCoreSDK/internal/Surroundings.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace QuorvelCoreSDK {

struct Quorvel::Parts {
  std::shared_ptr<Session> session;
  AccountDetails accountDetails;
  ProviderModule providerModule;
};

namespace {

struct Shared {
  std::mutex mutex;
  std::shared_ptr<Quorvel> instance;
};

Shared& shared() {
  static auto& slot = *new Shared;  // leaked: other threads may ask while the process ends
  return slot;
}

}  // namespace

AccountDetails::AccountDetails(std::string accountUrl, std::string applicationId,
                               std::string clientId)
    : AccountDetails(Values{.accountUrl = std::move(accountUrl),
                            .applicationId = std::move(applicationId),
                            .clientId = std::move(clientId),
                            .session = nullptr}) {}
AccountDetails::AccountDetails(Values values)
    : values_(std::make_shared<const Values>(std::move(values))) {}

Quorvel::Quorvel(Parts parts) : parts_(std::make_unique<const Parts>(std::move(parts))) {}
Quorvel::~Quorvel() = default;

std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> Quorvel::initialize(
    const AccountDetails& accountDetails, Configuration configuration) {
  auto instance = make(accountDetails, std::move(configuration), {});
  if (!instance) return instance;
  setSharedInstance(*instance);
  PendingCalls::accept();
  return instance;
}

std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> makeQuorvel(
    const AccountDetails& accountDetails, Configuration configuration, Surroundings surroundings) {
  return Quorvel::make(accountDetails, std::move(configuration), std::move(surroundings));
}

std::expected<std::shared_ptr<Quorvel>, PellixPlatform::Error> Quorvel::make(
    const AccountDetails& accountDetails, Configuration configuration, Surroundings surroundings) {
  auto details = *accountDetails.values_;
  auto& address = details.accountUrl;
  while (address.ends_with('/')) address.pop_back();
  auto url = parseAccountAddress(address);
  if (!url) return std::unexpected(std::move(url).error());

  constexpr std::size_t largestSettings = std::size_t{256} << 10;  // bytes
  const auto settingsTimeout = bounded(
      std::min(configuration.network.settingsTimeout, configuration.network.requestTimeout));
  const auto maxSettingsBytes = std::min(largestSettings, configuration.network.maxResponseBytes);
  auto transport = std::move(configuration.transport);
  if (!transport) {
    auto made = makeTransport(std::move(configuration.network));
    if (!made) return std::unexpected(std::move(made).error());
    transport = *std::move(made);
  }
  auto session = std::make_shared<Session>(
      Session::Parameters{.transport = std::move(transport),
                          .accountUrl = *std::move(url),
                          .token = std::move(configuration.token),
                          .settingsTimeToLive = configuration.settingsTimeToLive,
                          .settingsTimeout = settingsTimeout,
                          .maxSettingsBytes = maxSettingsBytes,
                          .surroundings = std::move(surroundings)});
  details.session = session;
  const AccountDetails handedOut(std::move(details));
  auto settings = configuration.settings ? std::move(configuration.settings)
                                         : std::make_shared<SettingsService>(handedOut);
  return std::shared_ptr<Quorvel>(
      new Quorvel(Parts{.session = std::move(session),
                        .accountDetails = handedOut,
                        .providerModule = ProviderModule(std::move(settings))}));
}

bool Quorvel::shutDown(std::chrono::milliseconds limit) {
  const auto deadline = deadlineAfter(limit);
  const auto before = PendingCalls::releaseWaiting();
  const bool isDropped = CurlWorker::dropAll(deadline);
  return PendingCalls::waitUntilGone(before, deadline) && isDropped;
}

std::shared_ptr<Quorvel> Quorvel::instance() {
  auto& slot = shared();
  const std::lock_guard lock(slot.mutex);
  return slot.instance;
}

void setSharedInstance(std::shared_ptr<Quorvel> instance) {
  auto& slot = shared();
  const std::lock_guard lock(slot.mutex);
  std::swap(slot.instance, instance);  // the earlier one goes after the lock does
}

const AccountDetails& Quorvel::accountDetails() const {
  return parts_->accountDetails;
}
const ProviderModule& Quorvel::providerModule() const {
  return parts_->providerModule;
}

void Quorvel::prepare() const {
  if (PendingCalls::areAccepted()) parts_->session->documents().prepare();
}

std::optional<SettingsFailure> Quorvel::lastSettingsFailure() const {
  return parts_->providerModule.settings()->lastFailure();
}

bool Quorvel::waitUntilIdle(std::chrono::milliseconds limit) const {
  return parts_->session->waitUntilIdle(limit);
}

void Quorvel::post(std::function<void()> task) const {
  Session::post(parts_->session, std::move(task));
}

}  // namespace QuorvelCoreSDK
