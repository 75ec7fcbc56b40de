#include <QuorvelCoreSDK/CoreLogger.h>

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>

namespace QuorvelCoreSDK {
namespace {

void logAll() {
  CoreLogger::debug("d");
  CoreLogger::info("i");
  CoreLogger::warn("w\nw");
  CoreLogger::error("e");
}

TEST(LoggerTest, DropsWhatIsBelowTheLevel) {
  const std::string all = "debug: d\ninfo: i\nwarn: w\nw\nerror: e\n";
  using enum LogLevel;
  for (const auto level : {std::optional<LogLevel>(), {debug}, {info}, {warn}, {error}, {off}}) {
    if (level) CoreLogger::setLevel(*level);
    const auto expected = level == off ? "" : all.substr(all.find(nameOf(level.value_or(warn))));
    testing::internal::CaptureStderr();
    logAll();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);

    std::string taken;
    CoreLogger::setSink([&taken](LogLevel at, std::string_view line) {
      taken.append(nameOf(at)).append(": ").append(line).append("\n");
    });
    testing::internal::CaptureStderr();
    logAll();
    EXPECT_EQ(testing::internal::GetCapturedStderr() + taken, expected);
    CoreLogger::setSink(nullptr);
  }
}

TEST(LoggerTest, ASinkMayReplaceItselfAndWhatItLogsDoesNotComeBackToIt) {
  std::string taken;
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watched = held;
  CoreLogger::setLevel(LogLevel::debug);
  CoreLogger::setSink([&taken, kept = std::move(held)](LogLevel, std::string_view first) {
    taken += first;
    CoreLogger::setSink([&taken](LogLevel, std::string_view second) { taken += second; });
    CoreLogger::info("lost");
    CoreLogger::warn("aside");
  });
  EXPECT_FALSE(watched.expired());
  testing::internal::CaptureStderr();
  CoreLogger::warn("1");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "warn: aside\n");
  EXPECT_TRUE(watched.expired());
  CoreLogger::info("2");
  CoreLogger::setSink(nullptr);
  EXPECT_EQ(taken, "12");
}

TEST(LoggerTest, LosesNoLineWhileSinksAreReplaced) {
  constexpr int lines = 500;
  const auto taken = std::make_shared<std::atomic<int>>(0);
  const auto replace = [&taken] {
    CoreLogger::setSink([taken](LogLevel, std::string_view) { ++*taken; });
  };
  replace();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int j = 0; j < lines; ++j) CoreLogger::error("line");
    });
  }
  for (int i = 0; i < lines; ++i) replace();
  for (auto& thread : threads) thread.join();
  CoreLogger::setSink(nullptr);
  EXPECT_EQ(*taken, 4 * lines);
}

}  // namespace
}  // namespace QuorvelCoreSDK
