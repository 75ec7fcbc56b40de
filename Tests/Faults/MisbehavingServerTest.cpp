#include "Application.h"

#include <algorithm>
#include <atomic>

namespace Faults {
namespace {

/// The core's tests have the rest of what a server can do: here it is what the operations make of
/// it.
TEST(MisbehavingServerTest, EndsEveryOperationOnce) {
  for (const auto& [kind, reply, query, report] : readFaults()) {
    SCOPED_TRACE(kind);
    std::atomic<bool> isWell = true;
    const LoopbackServer server([&](const LoopbackRequest& request) {
      return isWell ? LoopbackReply{properReply(request)} : reply;
    });
    const QuorvelCoreSDK::Configuration configuration{.network = {.maxResponseBytes = largest}};
    const Application kept(server.origin(), configuration);
    ASSERT_TRUE(kept.keepSettings());
    isWell = false;
    const auto calls = kept.runOperations();
    const Application fresh(server.origin(), configuration);
    const auto callsWithoutSettings = fresh.runOperations();
    const auto requests = server.requests();
    for (std::size_t i = 0; i < paths.size(); ++i) {
      SCOPED_TRACE(paths[i]);
      EXPECT_EQ(textOf(calls[i]), i == 0 ? query : report);
      EXPECT_EQ(textOf(callsWithoutSettings[i]), "QV_Pellix_Disabled 1006");
      const auto isIt = [i](const LoopbackRequest& request) { return isFor(request, paths[i]); };
      EXPECT_EQ(std::ranges::count_if(requests, isIt), 1);
    }
  }
}

}  // namespace
}  // namespace Faults
