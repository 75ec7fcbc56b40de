#include <PellixPlatform/internal/Bridge/ErrorObject.h>
#include <PellixPlatform/internal/Bridge/Text.h>

using namespace PellixPlatform::Bridge;

const char QVLLocalizedDescriptionKey[] = "NSLocalizedDescriptionKey";

namespace {

/// The user info's value under a key if it is a `Value`, else null.
template <class Value>
const Value* valueOf(const QVLError* error, std::string_view key, const char* function) {
  const auto& userInfo = objectOf(error, function).error().userInfo();
  const auto found = userInfo.find(key);
  return found == userInfo.end() ? nullptr : std::get_if<Value>(&found->second);
}

}  // namespace

const char* QVLError_domain(const QVLError* error, size_t* length) {
  return lend(objectOf(error, __func__).error().domain(), length);
}

int64_t QVLError_code(const QVLError* error) {
  return objectOf(error, __func__).error().code();
}

const char* QVLError_localizedDescription(const QVLError* error, size_t* length) {
  return lend(objectOf(error, __func__).localizedDescription(), length);
}

size_t QVLError_userInfo_count(const QVLError* error) {
  return objectOf(error, __func__).error().userInfo().size();
}

const char* QVLError_userInfo_keyAt(const QVLError* error, size_t index, size_t* length) {
  return lend(elementOf(objectOf(error, __func__).error().userInfo(), index, __func__).first,
              length);
}

const char* QVLError_userInfo_textForKey(const QVLError* error, const char* key, size_t keyLength,
                                         size_t* length) {
  const auto* text = valueOf<std::string>(error, textOf(key, keyLength, __func__), __func__);
  return text ? lend(*text, length) : lendNothing(length);
}

bool QVLError_userInfo_integerForKey(const QVLError* error, const char* key, size_t keyLength,
                                     int64_t* value) {
  const auto* integer = valueOf<std::int64_t>(error, textOf(key, keyLength, __func__), __func__);
  if (integer && value) *value = *integer;
  return integer != nullptr;
}
