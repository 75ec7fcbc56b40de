#include "PellixProvidersSDK/Samples.h"

#include <PellixProvidersSDKTesting/FakePellixProvider.h>
#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gmock/gmock.h>

namespace PellixProvidersSDK::Testing {
namespace {

using Call = FakePellixProvider::Call;

/// Calls every operation with callbacks of either form. Each adds + or - when it is called, for a
/// success or a failure, and a dot when it goes.
void callAll(FakePellixProvider& to, std::string& heard) {
  const auto guard = [&] { return std::shared_ptr<void>(nullptr, [&](void*) { heard += "."; }); };
  const auto one = [&] { return [&, held = guard()](auto r) { heard += r ? "+" : "-"; }; };
  const auto two = [&] {
    return [&, held = guard()](auto r, auto e) { heard += !r == !e ? "?" : r ? "+" : "-"; };
  };
  to.getDeflectionForQuery("q", one());
  to.getDeflectionForQuery("q", two());
  to.resolveWithArticle(1, 2, "t", one());
  to.resolveWithArticle(1, 2, "t", two());
  to.rejectWithArticle(1, 2, "t", RejectionReason::reason2, one());
  to.rejectWithArticle(1, 2, "t", RejectionReason::reason2, two());
  to.getDeflectionForQuery("q", OptionalsCallback<DeflectionResponse>());
}

TEST(FakePellixProvider, CallsBackOnceOrNotAndLetsGo) {
  for (const bool within : {false, true}) {
    FakePellixProvider provider;
    provider.endWithinCalls(within);
    std::string heard;
    callAll(provider, heard);  // nothing is scripted
    EXPECT_EQ(provider.finishAll(), within ? 0U : 7U);
    EXPECT_EQ(std::exchange(heard, ""), "-.-.-.-.-.-.");
    provider.onQuery(responseFrom(PellixTests::responseJSON()));
    provider.onResolution(silence);
    provider.onRejection(httpResponse(204));
    callAll(provider, heard);
    provider.finishAll();
    EXPECT_EQ(heard, "+.+...+.+.");
    EXPECT_THROW(provider.finish(0), std::out_of_range);
    using enum FakePellixProvider::Operation;
    EXPECT_EQ(provider.calls().at(4), (Call{rejection, "", 1, 2, "t", RejectionReason::reason2}));
  }
  EXPECT_THAT([] { static_cast<void>(responseFrom(R"({"deflection":{"id":"7"}})")); },
              testing::ThrowsMessage<std::invalid_argument>(testing::HasSubstr("deflection.id")));
}

TEST(FakePellixProvider, MayGoWhileItEndsCalls) {
  auto provider = std::make_unique<FakePellixProvider>();
  provider->resolveWithArticle(1, 2, "t", [&](const auto&) { provider.reset(); });
  std::string heard;
  callAll(*provider, heard);
  EXPECT_EQ(provider->finishAll(), 1U);
  EXPECT_EQ(heard, "......");
}

TEST(ScriptedTransport, AnswersAtItsOwnTimes) {
  using namespace std::chrono_literals;
  QuorvelCoreSDK::Testing::ScriptedTransport transport;
  transport.answer("/slow", 200, "", 300ms);
  transport.answer("/quick", 200, "", 100ms);
  transport.fail("/reset", QuorvelCoreSDK::CoreErrorCode::connectionLost, 100ms);
  transport.ignore("/never");
  std::string heard;
  const std::function<void(std::string)> send = [&](const std::string& path) {
    transport.send({.url = PellixPlatform::URL::parse(path).value()}, [&, path](const auto& reply) {
      heard += path + (reply.error ? "!" : "");
      if (path == "/quick") send("/x/quick");  // which comes another 100 ms later
    });
  };
  for (const auto* path : {"/slow", "/never", "/quick", "/reset", "/unscripted"}) send(path);
  for (const auto& [time, expected] :
       {std::pair(99ms, "/unscripted!"), {200ms, "/quick/reset!/x/quick"}, {1ms, "/slow"}}) {
    transport.advance(time);
    EXPECT_EQ(std::exchange(heard, ""), expected);
  }
}

}  // namespace
}  // namespace PellixProvidersSDK::Testing
