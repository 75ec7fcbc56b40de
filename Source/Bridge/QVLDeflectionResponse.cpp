#include "Bridge/Handles.h"

#include <PellixPlatform/internal/Bridge/Text.h>

using namespace PellixPlatform::Bridge;

const QVLDeflection* QVLDeflectionResponse_deflection(const QVLDeflectionResponse* response) {
  return handleOf<const QVLDeflection>(objectOf(response, __func__).deflection().get());
}

size_t QVLDeflectionResponse_deflectionArticles_count(const QVLDeflectionResponse* response) {
  return objectOf(response, __func__).deflectionArticles().size();
}

const QVLDeflectionArticle* QVLDeflectionResponse_deflectionArticles_at(
    const QVLDeflectionResponse* response, size_t index) {
  const auto& articles = objectOf(response, __func__).deflectionArticles();
  return handleOf<const QVLDeflectionArticle>(elementOf(articles, index, __func__).get());
}

const char* QVLDeflectionResponse_interactionAccessToken(const QVLDeflectionResponse* response,
                                                         size_t* length) {
  return lend(objectOf(response, __func__).interactionAccessToken(), length);
}

bool QVLDeflectionResponse_isEqual(const QVLDeflectionResponse* response, const QVLObject* other) {
  return objectOf(response, __func__).isEqual(anyObject(other));
}

int64_t QVLDeflection_deflectionID(const QVLDeflection* deflection) {
  return objectOf(deflection, __func__).deflectionID();
}

bool QVLDeflection_isEqual(const QVLDeflection* deflection, const QVLObject* other) {
  return objectOf(deflection, __func__).isEqual(anyObject(other));
}
