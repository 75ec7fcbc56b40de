#include "HTTPStatus.h"

#include <PellixPlatform/internal/Bridge/HTTPURLResponseHandle.h>
#include <PellixPlatform/internal/Bridge/Text.h>

using namespace PellixPlatform::Bridge;

int64_t QVLHTTPURLResponse_statusCode(const QVLHTTPURLResponse* response) {
  return objectOf(response, __func__).statusCode();
}

const char* QVLHTTPURLResponse_url(const QVLHTTPURLResponse* response, size_t* length) {
  return lend(objectOf(response, __func__).url(), length);
}

const char* QVLHTTPURLResponse_valueForHeaderField(const QVLHTTPURLResponse* response,
                                                   const char* name, size_t nameLength,
                                                   size_t* length) {
  const auto& http = objectOf(response, __func__);
  const auto value = http.valueForHeaderField(textOf(name, nameLength, __func__));
  if (length) *length = value ? value->size() : 0;
  return value ? value->data() : nullptr;  // the whole of a field's value, so a NUL follows
}

size_t QVLHTTPURLResponse_allHeaderFields_count(const QVLHTTPURLResponse* response) {
  return objectOf(response, __func__).allHeaderFields().size();
}

const char* QVLHTTPURLResponse_allHeaderFields_nameAt(const QVLHTTPURLResponse* response,
                                                      size_t index, size_t* length) {
  return lend(elementOf(objectOf(response, __func__).allHeaderFields(), index, __func__).first,
              length);
}

const char* QVLHTTPURLResponse_allHeaderFields_valueAt(const QVLHTTPURLResponse* response,
                                                       size_t index, size_t* length) {
  return lend(elementOf(objectOf(response, __func__).allHeaderFields(), index, __func__).second,
              length);
}

const char* QVLHTTPURLResponse_localizedStringForStatusCode(int64_t statusCode, size_t* length) {
  return lendSentence(PellixPlatform::textOfStatus(statusCode), length);
}

bool QVLHTTPURLResponse_isEqual(const QVLHTTPURLResponse* response, const QVLObject* other) {
  return objectOf(response, __func__).isEqual(anyObject(other));
}
