#include <PellixPlatform/internal/Once.h>

#include <gtest/gtest.h>

#include <vector>

namespace PellixPlatform {
namespace {

TEST(Once, RunsOnceAndKeepsNothing) {
  auto held = std::make_unique<std::shared_ptr<int>>(std::make_shared<int>(7));
  const std::weak_ptr<int> watch = *held;
  std::vector<int> seen;
  const std::function<void(std::unique_ptr<int>)> first =
      Once([held = std::move(held), &seen](std::unique_ptr<int> argument) {
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
  continuation = Once([&] {
    ++runs;
    continuation();
  });
  continuation();
  EXPECT_EQ(runs, 1);
}

TEST(Once, TakesACallbackFromItsCaller) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  bool isReleasedWithin = true;
  // Small enough that some standard libraries copy it where it is said to be moved.
  std::function<void(bool*)> callback = [held = std::move(held)](bool* isReleased) {
    *isReleased = held.use_count() != 1;
  };
  const Once call(std::move(callback));
  EXPECT_FALSE(callback);
  call(&isReleasedWithin);
  EXPECT_FALSE(isReleasedWithin);
  EXPECT_TRUE(watch.expired());

  const Once empty(std::move(callback));
  empty(nullptr);
}

}  // namespace
}  // namespace PellixPlatform
