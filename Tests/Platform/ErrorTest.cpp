#include <PellixPlatform/Error.h>
#include <PellixPlatform/internal/FatalError.h>

#include <gmock/gmock.h>

#include <csignal>

namespace PlatformTests {
namespace {

using PellixPlatform::Error;

TEST(Error, DescribesItself) {
  const auto described = [](const char* text) {
    return Error("D", 7, {{PellixPlatform::NSLocalizedDescriptionKey, text}});
  };
  const struct {
    Error error;
    const char* localized;
    const char* full;
  } cases[] = {
      {Error("D", -7), "D (-7)", "D (-7)"},
      {described("Why."), "Why.", "D (7): Why."},
      {described("a\r\nb\tc\x1b[0m\x7f"), "a  b c [0m ", "D (7): a  b c [0m "},
      {Error("D", 7, {{PellixPlatform::NSLocalizedDescriptionKey, 5}, {"x", "y"}}), "D (7)",
       "D (7)"},
  };
  for (const auto& [error, localized, full] : cases) {
    EXPECT_EQ(error.localizedDescription(), localized);
    EXPECT_EQ(error.description(), full);
  }
}

TEST(Error, IsComparedByContent) {
  const Error error("D", 1, {{"k", "v"}});
  EXPECT_EQ(error, Error("D", 1, {{"k", "v"}}));
  for (const auto& other : {Error("E", 1, {{"k", "v"}}), Error("D", 2, {{"k", "v"}}), Error("D", 1),
                            Error("D", 1, {{"k", 1}})}) {
    EXPECT_NE(error, other);
  }
}

TEST(FatalErrorDeathTest, ReportsAndAborts) {
  EXPECT_EXIT(PellixPlatform::fatalError("No 100% way on.\nNone."),
              testing::KilledBySignal(SIGABRT), testing::StrEq("No 100% way on.\nNone.\n"));
  EXPECT_EXIT(PellixPlatform::fatalUnimplementedInitializer("A.B", "init(coder:)"),
              testing::KilledBySignal(SIGABRT),
              testing::StrEq("Fatal error: Use of unimplemented initializer 'init(coder:)' for "
                             "class 'A.B'\n"));
}

}  // namespace
}  // namespace PlatformTests
