#define PELLIX_BUILDS_ITSELF  // nulls are passed on purpose
#include "Bridge/Bridge.h"

#include <gmock/gmock.h>

#include <iostream>

namespace BridgeTests {
namespace {

std::string unimplemented(const std::string& className) {
  return "Fatal error: Use of unimplemented initializer 'init()' for class 'PellixProvidersSDK." +
         className + "'";
}

const QVLDeflectionArticle* anArticle() {
  static const auto article = std::make_shared<const PellixProvidersSDK::DeflectionArticle>(
      PellixProvidersSDK::DeflectionArticle::Fields{.labelNames = {"only"}});
  return seen<const QVLDeflectionArticle>(*article);
}

void tell(const char* report, size_t length, void* context) {
  const std::string_view text(report, length);
  std::cerr << static_cast<const char*>(context) << ": " << text << std::endl;
  QVLLiveReferences();  // nothing is locked
  QVLRelease(nullptr);  // a mistake of the handler's own
}

/// A wrong call, and what is reported of it.
struct Misuse {
  std::string report;
  void (*call)();
};

#define WITH_NULL(function, ...)                                                \
  Misuse {                                                                      \
    "Fatal error: " #function ": null where an object is needed",               \
        [] { static_cast<void>(function(nullptr __VA_OPT__(, ) __VA_ARGS__)); } \
  }
const Misuse misuses[] = {
    {unimplemented("Pellix"), [] { QVLPellix_init(); }},
    {unimplemented("PellixProvider"), [] { QVLPellixProvider_init(); }},
    {unimplemented("DeflectionArticle"), [] { QVLDeflectionArticle_init(); }},
    {unimplemented("PellixDispatcherResponse"), [] { QVLPellixDispatcherResponse_init(); }},
    {"Source/Settings/PellixSettingsProvider:29: Fatal error: ",
     [] { QVLPellixSettingsProvider_init(); }},
    // One of each library and of each kind of handle.
    WITH_NULL(QVLRetain),
    WITH_NULL(QVLRelease),
    WITH_NULL(QVLPellix_provider),
    WITH_NULL(QVLDeflectionResponse_deflectionArticles_at, 0),
    WITH_NULL(QVLError_userInfo_integerForKey, "", 0, nullptr),
    WITH_NULL(QVLQuorvelConfiguration_setToken, "", 0),
    WITH_NULL(QVLTokenReceiver_setToken, "", 0),
    WITH_NULL(QVLVeltrane_initialize),
    {"Fatal error: QVLRelease: released more often than retained",
     [] {
       const auto* settings = QVLPellixSettings_init();
       QVLRetain(settings);
       for (int i = 0; i < 3; ++i) QVLRelease(settings);
     }},
    {"Fatal error: QVLRelease: released more often than retained\n"
     "handler: Fatal error: QVLRelease: released more often than retained\n"
     "Fatal error: QVLRelease: null where an object is needed",
     [] {
       static char name[] = "handler";
       const bool isSet = QVLFatalError_setHandler(tell, name, nullptr);
       if (isSet) QVLRelease(anArticle());  // which is borrowed
     }},
    {"Fatal error: QVLDeflection_deflectionID: an object of another class",
     [] { QVLDeflection_deflectionID(reinterpret_cast<const QVLDeflection*>(anArticle())); }},
    {"Fatal error: QVLDeflectionArticle_labelNames_at: an index out of range",
     [] { QVLDeflectionArticle_labelNames_at(anArticle(), 1, nullptr); }},
    {"Fatal error: QVLQuorvel_initialize: null where a text is needed",
     [] { QVLQuorvel_initialize("", 0, nullptr, QVL_UNTIL_NUL, "", 0, nullptr, nullptr); }},
    {"Fatal error: QVLPellix_version: null where a text is to be written",
     [] { QVLPellix_version(nullptr, 1); }},
    {"Fatal error: QVLBundle_setResourceDirectory: a text longer than any can be",
     [] {
       QVLFatalError_setHandler(nullptr, nullptr, nullptr);
       QVLBundle_setResourceDirectory("", size_t{PTRDIFF_MAX} + 1);
     }},
    {"Fatal error: QVLMainQueue_takeAllCallbacks: called after a callback was given",
     [] {
       QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
       QVLMainQueue_takeAllCallbacks();
     }},
    {"Fatal error: QVLPellix_initializeWithQuorvel_veltrane: null where an object is needed",
     [] {
       const auto quorvel = PellixTests::makeQuorvel();
       QVLPellix_initializeWithQuorvel_veltrane(seen<QVLQuorvel>(*quorvel), nullptr);
     }},
};

TEST(Misuse, IsReportedBeforeTheProcessEnds) {
  for (const auto& misuse : misuses) {
    EXPECT_EXIT(misuse.call(), testing::KilledBySignal(SIGABRT),
                testing::StrEq(misuse.report + "\n"));
  }
}

}  // namespace
}  // namespace BridgeTests
