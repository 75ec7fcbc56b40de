#pragma once

#include "PellixProvidersSDK/Host.h"

#include <PellixProvidersSDK/QVLPellix.h>

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <string_view>

/// What the tests of the C interface share.
namespace BridgeTests {

using PellixTests::Host;
using PellixTests::Outcome;

/// What the host sees of an object that a test made in C++. The test keeps it alive.
template <class Handle>
Handle* seen(const PellixPlatform::Object& object) {
  return static_cast<Handle*>(const_cast<void*>(static_cast<const void*>(&object)));
}

inline QVLPellixProvider* provider() {
  return QVLPellix_provider(QVLPellix_instance());
}

inline std::int64_t numberOf(const QVLDeflectionResponse* response) {
  return QVLDeflection_deflectionID(QVLDeflectionResponse_deflection(response));
}

inline std::int64_t numberOf(const QVLPellixDispatcherResponse* response) {
  return QVLHTTPURLResponse_statusCode(QVLPellixDispatcherResponse_response(response));
}

/// The callback of an operation, whose context is an `Outcome`.
template <class Record>
void finish(const Record* record, const QVLError* error, void* context) {
  EXPECT_NE(record == nullptr, error == nullptr);
  static_cast<Outcome*>(context)->add(record != nullptr, [&] {
    return record ? "record " + std::to_string(numberOf(record))
                  : QVLError_domain(error, nullptr) + (" " + std::to_string(QVLError_code(error)));
  });
}

/// The bodies sent to a path.
inline std::vector<std::string> bodies(const Host& host, std::string_view path) {
  std::vector<std::string> bodies;
  for (const auto& request : host.transport->requests(path)) {
    bodies.push_back(request.body.value_or("none"));
  }
  return bodies;
}

/// A sink of the log, whose context is an `Outcome`.
inline void keepLine(int level, const char* line, size_t length, void* context) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  static_cast<Outcome*>(context)->text +=
      std::to_string(level) + ": " + std::string(line, length) + "\n";
}

// The operations. Without a callback, only the context is left to tell the end.

inline void ask(Outcome& outcome, std::string_view query = "How?",
                QVLDeflectionCallback callback = &finish) {
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(
      provider(), query.data(), query.size(), callback, outcome.begin(), Outcome::release);
}

inline void resolve(Outcome& outcome, QVLDispatcherCallback callback = &finish) {
  QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
      provider(), 7, -4711, "token", QVL_UNTIL_NUL, callback, outcome.begin(), Outcome::release);
}

inline void reject(Outcome& outcome, QVLRejectionReason reason = QVLRejectionReason2,
                   QVLDispatcherCallback callback = &finish) {
  QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
      provider(), 7, INT64_MIN, "token", 5, reason, callback, outcome.begin(), Outcome::release);
}

}  // namespace BridgeTests
