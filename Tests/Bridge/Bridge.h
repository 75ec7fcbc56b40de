#pragma once

#include "PellixProvidersSDK/Host.h"

#include <PellixProvidersSDK/QVLPellix.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

/// What the tests of the C interface share.
namespace BridgeTests {

using PellixTests::Host;

inline constexpr std::string_view resolvePath = "/answers/v1/resolutions";
inline constexpr std::string_view rejectPath = "/answers/v1/rejections";

/// What the host sees of an object that a test made in C++. The test keeps it alive.
template <class Handle>
Handle* seen(const PellixPlatform::Object& object) {
  return static_cast<Handle*>(const_cast<void*>(static_cast<const void*>(&object)));
}

inline QVLPellixProvider* provider() {
  return QVLPellix_provider(QVLPellix_instance());
}

/// What became of one operation.
struct Outcome {
  std::string text;  // what the callback was given
  int releases = 0;  // of the context

  static void release(void* context) { ++static_cast<Outcome*>(context)->releases; }

  template <class Record>
  static void finish(const Record* record, const QVLError* error, void* context) {
    auto& self = *static_cast<Outcome*>(context);
    EXPECT_EQ(self.releases, 0);
    if (record) self.text += nameOf(record);
    if (error) {
      self.text += QVLError_domain(error, nullptr);
      self.text += " " + std::to_string(QVLError_code(error));
    }
  }

 private:
  static std::string nameOf(const QVLDeflectionResponse* response) {
    const auto* deflection = QVLDeflectionResponse_deflection(response);
    return "response " + std::to_string(QVLDeflection_deflectionID(deflection));
  }
  static std::string nameOf(const QVLPellixDispatcherResponse* response) {
    const auto* http = QVLPellixDispatcherResponse_response(response);
    return "status " + std::to_string(QVLHTTPURLResponse_statusCode(http));
  }
};

// The operations. Without a callback, only the context is left to tell the end.

inline void ask(Outcome& outcome, std::string_view query = "How?",
                QVLDeflectionCallback callback = &Outcome::finish) {
  QVLPellixProvider_getDeflectionForQueryWithQuery_callback(provider(), query.data(), query.size(),
                                                            callback, &outcome, Outcome::release);
}

inline void resolve(Outcome& outcome, QVLDispatcherCallback callback = &Outcome::finish) {
  QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(
      provider(), 7, -4711, "token", QVL_UNTIL_NUL, callback, &outcome, Outcome::release);
}

inline void reject(Outcome& outcome, QVLRejectionReason reason = QVLRejectionReason2,
                   QVLDispatcherCallback callback = &Outcome::finish) {
  QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(
      provider(), 7, INT64_MIN, "token", 5, reason, callback, &outcome, Outcome::release);
}

}  // namespace BridgeTests
