#include "Bridge/Handles.h"

#include <PellixPlatform/internal/Bridge/Callbacks.h>
#include <PellixPlatform/internal/Bridge/ErrorObject.h>
#include <PellixPlatform/internal/Bridge/Text.h>

#include <utility>

using namespace PellixProvidersSDK;
using namespace PellixPlatform::Bridge;

namespace {

/// The host's callback as the provider wants it. Without a function the context is held all the
/// same, so that its release tells the end of the operation.
template <class Handle, class Record = std::remove_const_t<ClassOf<Handle>>>
ResultCallback<Record> resultCallback(void (*callback)(Handle*, const QVLError*, void*),
                                      Context context) {
  return [callback, context = std::move(context)](Result<Record> result) {
    if (!callback) return;
    callHost([callback, context, result = std::move(result)]() mutable {
      if (result) return callback(handleOf<Handle>(result->get()), nullptr, context.get());
      const auto error = std::make_shared<const ErrorObject>(std::move(result).error());
      callback(nullptr, handleOf<const QVLError>(error.get()), context.get());
    });
  };
}

}  // namespace

void QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
    QVLPellixProvider* provider, const char* query, size_t queryLength,
    QVLDeflectionCallback callback, void* context, QVLContextRelease release) {
  auto& self = objectOf(provider, __func__);
  const auto question = textOf(query, queryLength, __func__);
  withMemory([&] {
    auto held = makeContext(context, release);
    self.getDeflectionForQuery(std::string(question), resultCallback(callback, std::move(held)));
  });
}

void QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
    QVLPellixProvider* provider, int64_t deflectionId, int64_t articleId,
    const char* interactionAccessToken, size_t interactionAccessTokenLength,
    QVLDispatcherCallback callback, void* context, QVLContextRelease release) {
  auto& self = objectOf(provider, __func__);
  const auto token = textOf(interactionAccessToken, interactionAccessTokenLength, __func__);
  withMemory([&] {
    auto held = makeContext(context, release);
    self.resolveWithArticle(deflectionId, articleId, std::string(token),
                            resultCallback(callback, std::move(held)));
  });
}

void QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
    QVLPellixProvider* provider, int64_t deflectionId, int64_t articleId,
    const char* interactionAccessToken, size_t interactionAccessTokenLength,
    QVLRejectionReason reason, QVLDispatcherCallback callback, void* context,
    QVLContextRelease release) {
  auto& self = objectOf(provider, __func__);
  const auto token = textOf(interactionAccessToken, interactionAccessTokenLength, __func__);
  withMemory([&] {
    auto held = makeContext(context, release);
    // Any number is taken, deliberately.
    self.rejectWithArticle(deflectionId, articleId, std::string(token),
                           static_cast<RejectionReason>(reason),
                           resultCallback(callback, std::move(held)));
  });
}

void QVLPellixProvider_init() {
  static_cast<void>(PellixProvider());
  std::unreachable();  // the constructor does not return, which compilers can't all see
}

bool QVLRejectionReason_initWithRawValue(int64_t rawValue, QVLRejectionReason* reason) {
  const auto made = makeRejectionReason(rawValue);
  if (made && reason) *reason = PellixProvidersSDK::rawValue(*made);
  return made.has_value();
}
