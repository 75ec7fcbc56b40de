#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"

#include <gmock/gmock.h>

// Declared here and not included: the names are what a program in another language links to.
extern "C" {
extern const double PellixProvidersSDKVersionNumber;
extern const unsigned char PellixProvidersSDKVersionString[];
}

namespace PellixTests {
namespace {

using PellixProvidersSDK::PellixSettingsProvider;
using testing::ElementsAre;
using testing::MatchesRegex;

constexpr char isNotSetUp[] =
    "warn: Instance of Veltrane is nil, have you initialized the Veltrane SDK?";
constexpr char gotNoCore[] =
    "error: The Quorvel instance passed into initialize(withQuorvel:) was nil.\n"
    "Failed to initialize the Pellix SDK, have you initialized the Core SDK?";
constexpr char isNew[] =
    "debug: Initialized Providers with UUID: "
    "[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}";

std::shared_ptr<Quorvel> core(const char* application, const char* client) {
  return Quorvel::initialize({"https://acme.example", application, client}).value();
}

void checkLifeOfTheFacade() {
  Support::LogRecorder log;
  EXPECT_EQ(Pellix::instance(), nullptr);
  EXPECT_EQ(Pellix::instance(), nullptr);
  EXPECT_THAT(log.newLines(), ElementsAre(isNotSetUp, isNotSetUp));
  const auto veltrane = Veltrane::initialize(core("application", "client"));
  Pellix::initialize(nullptr, veltrane);
  EXPECT_EQ(Pellix::instance(), nullptr);
  EXPECT_THAT(log.newLines(), ElementsAre(gotNoCore, isNotSetUp));

  std::string firstLine;
  for (const char* application : {"application", "Application", "application "}) {
    const auto earlier = firstLine.empty() ? nullptr : Pellix::instance();
    Pellix::initialize(core(application, "client"), veltrane);
    const auto lines = log.newLines();
    EXPECT_THAT(lines, ElementsAre(MatchesRegex(isNew), "info: Initializing Pellix SDK."));
    EXPECT_NE(std::exchange(firstLine, lines.at(0)), lines.at(0));
    const auto facade = Pellix::instance();
    const auto provider = facade->provider();
    EXPECT_NE(facade, earlier);
    EXPECT_TRUE(provider && (!earlier || provider != earlier->provider()));

    const auto otherVeltrane = Veltrane::initialize(core(application, "another client"));
    Pellix::initialize(otherVeltrane->quorvel(), otherVeltrane);
    EXPECT_EQ(otherVeltrane.use_count(), 2);  // here, and the shared instance
    Pellix::initialize(nullptr, veltrane);
    EXPECT_THAT(log.newLines(),
                ElementsAre("info: Initializing Pellix with the same details", gotNoCore));
    EXPECT_EQ(Pellix::instance(), facade);
    EXPECT_EQ(facade->provider(), provider);
  }
}

TEST(Facade, IsMadeForAnApplicationAndStaysForIt) {
  EXPECT_PASSES_IN_A_CHILD(checkLifeOfTheFacade());
}

TEST(Facade, HoldsWhatItWasGivenUntilItIsReplaced) {
  const std::weak_ptr<PellixProvider> provider = setUp();
  const std::weak_ptr<void> given[] = {provider, Quorvel::instance(), Veltrane::instance()};
  const auto other = Veltrane::initialize(makeQuorvel());
  for (const auto& each : given) EXPECT_FALSE(each.expired());
  Pellix::initialize(other->quorvel(), other);
  for (const auto& each : given) EXPECT_TRUE(each.expired());
}

TEST(Initialisers, StopTheProcessWhereThereIsNothingToMake) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const testing::KilledBySignal aborted(SIGABRT);
  const std::string unimplemented =
      "Fatal error: Use of unimplemented initializer 'init()' for class 'PellixProvidersSDK.";
  EXPECT_EXIT(Pellix(), aborted, testing::StrEq(unimplemented + "Pellix'\n"));
  EXPECT_EXIT(PellixProvider(), aborted, testing::StrEq(unimplemented + "PellixProvider'\n"));
  EXPECT_EXIT(PellixSettingsProvider(), aborted,
              testing::StrEq("Source/Settings/PellixSettingsProvider:29: Fatal error: \n"));
}

TEST(Version, IsThereAsPlainData) {
  EXPECT_EQ(PellixProvidersSDKVersionNumber, 1.0);
  EXPECT_STREQ(reinterpret_cast<const char*>(PellixProvidersSDKVersionString),
               "@(#)PROGRAM:PellixProvidersSDK  PROJECT:PellixProvidersSDK-1\n");
}

}  // namespace
}  // namespace PellixTests
