#include "PellixProvidersSDK/Host.h"
#include "Providers/Once.h"
#include "Providers/PendingCallback.h"

#include <gtest/gtest.h>

#include <functional>

namespace PellixTests {
namespace {

using PellixProvidersSDK::once;
using PellixProvidersSDK::PendingCallback;

TEST(Once, RunsOnceAndKeepsNothing) {
  auto held = std::make_unique<std::shared_ptr<int>>(std::make_shared<int>(7));
  const std::weak_ptr<int> watch = *held;
  std::vector<int> seen;
  const std::function<void(std::unique_ptr<int>)> first =
      once([held = std::move(held), &seen](std::unique_ptr<int> argument) {
        seen.push_back(**held + *argument);
      });
  const auto second = first;
  EXPECT_FALSE(watch.expired());
  second(std::make_unique<int>(1));
  EXPECT_TRUE(watch.expired());  // though two copies of the continuation are still there
  first(std::make_unique<int>(2));
  second(std::make_unique<int>(3));
  EXPECT_EQ(seen, std::vector{8});
}

TEST(Once, MayRunItselfAgainWithoutEffect) {
  int runs = 0;
  std::function<void()> continuation;
  continuation = once([&] {
    ++runs;
    continuation();
  });
  continuation();
  EXPECT_EQ(runs, 1);
}

TEST(PendingCallback, IsTakenFromTheCallerAndCalledOnce) {
  Outcome outcome;
  auto callback = outcome.callback();
  PendingCallback pending(callback);
  EXPECT_FALSE(callback);
  auto moved = std::move(pending);
  EXPECT_EQ(outcome.text(), "still held, silence");
  const PellixPlatform::Error error("host", 1);
  moved(std::unexpected(error));
  EXPECT_EQ(outcome.text(), "host 1");  // released, though what held it is still there
  moved(std::unexpected(error));
  EXPECT_EQ(outcome.results.size(), 1U);
}

}  // namespace
}  // namespace PellixTests
