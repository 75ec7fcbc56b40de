#include <PellixPlatform/internal/Once.h>

#include <gtest/gtest.h>

namespace PellixPlatform {
namespace {

TEST(Once, RunsOnceAndKeepsNothing) {
  auto held = std::make_unique<int>(7);
  const int* const value = held.get();
  auto shared = std::make_shared<int>();
  const std::weak_ptr<int> watch = shared;
  int seen = 0;
  std::function<void(std::unique_ptr<int>)> again;
  const std::function<void(std::unique_ptr<int>)> first =
      Once([&, held = std::move(held), shared = std::move(shared)](std::unique_ptr<int> argument) {
        EXPECT_EQ(held.get(), value);
        seen += *argument;
        again(std::make_unique<int>(10));
        EXPECT_FALSE(watch.expired());
      });
  again = first;
  again(std::make_unique<int>(1));
  EXPECT_TRUE(watch.expired());  // though two copies of the continuation are still there
  first(std::make_unique<int>(100));
  EXPECT_EQ(seen, 1);
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
