#include <PellixPlatform/JSONDecoder.h>
#include <QuorvelCoreSDK/CoreError.h>

#include <PellixProvidersSDKTesting/FakePellixProvider.h>

#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace PellixProvidersSDK::Testing {
namespace {

PellixPlatform::Error unscripted() {
  return QuorvelCoreSDK::makeCoreError(QuorvelCoreSDK::CoreErrorCode::cannotConnect,
                                       "no answer is scripted");
}

}  // namespace

Ending<DeflectionResponse> responseFrom(std::string_view json) {
  auto response = PellixPlatform::JSONDecoder().decode<DeflectionResponse>(json);
  if (!response) throw std::invalid_argument("No response: " + response.error().description());
  return response;
}

Ending<PellixDispatcherResponse> httpResponse(int status,
                                              std::optional<PellixPlatform::Data> body) {
  using PellixPlatform::HTTPURLResponse;
  auto response = std::make_shared<const HTTPURLResponse>("https://fake.invalid/", status,
                                                          HTTPURLResponse::HeaderFields{});
  if (!response->isSuccess()) {
    throw std::invalid_argument("No success: status " + std::to_string(status));
  }
  return std::make_shared<const PellixDispatcherResponse>(std::move(response), std::move(body));
}

struct FakePellixProvider::State {
  using Waiting = std::map<std::size_t, std::function<void()>>;  // how calls end, by their indices

  std::mutex mutex;
  Ending<DeflectionResponse> query = std::unexpected(unscripted());
  Ending<PellixDispatcherResponse> resolution = std::unexpected(unscripted());
  Ending<PellixDispatcherResponse> rejection = std::unexpected(unscripted());
  bool endsWithinCalls = false;
  std::vector<Call> calls;
  Waiting waiting;

  template <class T>
  void script(Ending<T> State::* which, Ending<T> ending) {
    const std::lock_guard lock(mutex);
    std::swap(this->*which, ending);
  }

  /// The callback of what is taken goes with it, right after its call.
  Waiting::node_type take(std::optional<std::size_t> index = {}) {
    const std::lock_guard lock(mutex);
    const auto found = index ? waiting.find(*index) : waiting.begin();
    return found == waiting.end() ? Waiting::node_type() : waiting.extract(found);
  }

  template <class T>
  void add(Call call, Ending<T> State::* scripted, ResultCallback<T>& callback) {
    Waiting::node_type atOnce;
    {
      const std::lock_guard lock(mutex);
      const auto added = waiting.emplace(
          calls.size(), [ending = this->*scripted, callback = std::exchange(callback, nullptr)] {
            if (ending && callback) callback(*ending);
          });
      calls.push_back(std::move(call));
      if (endsWithinCalls) atOnce = waiting.extract(added.first);
    }
    if (atOnce) atOnce.mapped()();
  }
};

FakePellixProvider::FakePellixProvider() : state_(std::make_shared<State>()) {}

FakePellixProvider::~FakePellixProvider() {
  while (state_->take()) {
  }
}

void FakePellixProvider::onQuery(Ending<DeflectionResponse> ending) {
  state_->script(&State::query, std::move(ending));
}

void FakePellixProvider::onResolution(Ending<PellixDispatcherResponse> ending) {
  state_->script(&State::resolution, std::move(ending));
}

void FakePellixProvider::onRejection(Ending<PellixDispatcherResponse> ending) {
  state_->script(&State::rejection, std::move(ending));
}

void FakePellixProvider::endWithinCalls(bool within) {
  const std::lock_guard lock(state_->mutex);
  state_->endsWithinCalls = within;
}

std::vector<FakePellixProvider::Call> FakePellixProvider::calls() const {
  const std::lock_guard lock(state_->mutex);
  return state_->calls;
}

void FakePellixProvider::finish(std::size_t call) {
  const auto taken = state_->take(call);
  if (!taken) throw std::out_of_range("No call " + std::to_string(call) + " waits");
  taken.mapped()();
}

std::size_t FakePellixProvider::finishAll() {
  const auto state = state_;  // a callback may let go of this provider
  std::size_t count = 0;
  for (; const auto taken = state->take(); ++count) taken.mapped()();
  return count;
}

void FakePellixProvider::getDeflectionForQuery(std::string query,
                                               ResultCallback<DeflectionResponse> callback) {
  state_->add({.operation = Operation::query, .query = std::move(query)}, &State::query, callback);
}

void FakePellixProvider::getDeflectionForQuery(std::string query,
                                               OptionalsCallback<DeflectionResponse> callback) {
  getDeflectionForQuery(std::move(query), asResultCallback(std::exchange(callback, nullptr)));
}

void FakePellixProvider::resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                            std::string interactionAccessToken,
                                            ResultCallback<PellixDispatcherResponse> callback) {
  state_->add({.operation = Operation::resolution,
               .deflectionId = deflectionId,
               .articleId = articleId,
               .interactionAccessToken = std::move(interactionAccessToken)},
              &State::resolution, callback);
}

void FakePellixProvider::resolveWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                            std::string interactionAccessToken,
                                            OptionalsCallback<PellixDispatcherResponse> callback) {
  resolveWithArticle(deflectionId, articleId, std::move(interactionAccessToken),
                     asResultCallback(std::exchange(callback, nullptr)));
}

void FakePellixProvider::rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                           std::string interactionAccessToken,
                                           RejectionReason reason,
                                           ResultCallback<PellixDispatcherResponse> callback) {
  state_->add({.operation = Operation::rejection,
               .deflectionId = deflectionId,
               .articleId = articleId,
               .interactionAccessToken = std::move(interactionAccessToken),
               .reason = reason},
              &State::rejection, callback);
}

void FakePellixProvider::rejectWithArticle(std::int64_t deflectionId, std::int64_t articleId,
                                           std::string interactionAccessToken,
                                           RejectionReason reason,
                                           OptionalsCallback<PellixDispatcherResponse> callback) {
  rejectWithArticle(deflectionId, articleId, std::move(interactionAccessToken), reason,
                    asResultCallback(std::exchange(callback, nullptr)));
}

}  // namespace PellixProvidersSDK::Testing
