#include "Bridge/Handles.h"

#include <PellixPlatform/internal/Bridge/Text.h>
#include <PellixPlatform/internal/FatalError.h>

using namespace PellixPlatform::Bridge;

int64_t QVLDeflectionArticle_id(const QVLDeflectionArticle* article) {
  return objectOf(article, __func__).id();
}

const char* QVLDeflectionArticle_title(const QVLDeflectionArticle* article, size_t* length) {
  return lend(objectOf(article, __func__).title(), length);
}

const char* QVLDeflectionArticle_htmlURL(const QVLDeflectionArticle* article, size_t* length) {
  return lend(objectOf(article, __func__).htmlURL(), length);
}

const char* QVLDeflectionArticle_url(const QVLDeflectionArticle* article, size_t* length) {
  return lend(objectOf(article, __func__).url(), length);
}

size_t QVLDeflectionArticle_labelNames_count(const QVLDeflectionArticle* article) {
  return objectOf(article, __func__).labelNames().size();
}

const char* QVLDeflectionArticle_labelNames_at(const QVLDeflectionArticle* article, size_t index,
                                               size_t* length) {
  return lend(elementOf(objectOf(article, __func__).labelNames(), index, __func__), length);
}

const char* QVLDeflectionArticle_body(const QVLDeflectionArticle* article, size_t* length) {
  return lend(objectOf(article, __func__).body(), length);
}

int64_t QVLDeflectionArticle_articleId(const QVLDeflectionArticle* article) {
  return objectOf(article, __func__).articleId();
}

const char* QVLDeflectionArticle_locale(const QVLDeflectionArticle* article, size_t* length) {
  return lend(objectOf(article, __func__).locale(), length);
}

int64_t QVLDeflectionArticle_brandId(const QVLDeflectionArticle* article) {
  return objectOf(article, __func__).brandId();
}

double QVLDeflectionArticle_score(const QVLDeflectionArticle* article) {
  return objectOf(article, __func__).score();
}

const char* QVLDeflectionArticle_snippet(const QVLDeflectionArticle* article, size_t* length) {
  return lend(objectOf(article, __func__).snippet(), length);
}

bool QVLDeflectionArticle_isEqual(const QVLDeflectionArticle* article, const QVLObject* other) {
  return objectOf(article, __func__).isEqual(anyObject(other));
}

void QVLDeflectionArticle_init() {
  PellixPlatform::fatalUnimplementedInitializer("PellixProvidersSDK.DeflectionArticle", "init()");
}
