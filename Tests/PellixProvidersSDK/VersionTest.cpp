#include <gtest/gtest.h>

// Declared here and not included: the names are what a program in another language links to.
extern "C" {
extern const double PellixProvidersSDKVersionNumber;
extern const unsigned char PellixProvidersSDKVersionString[];
}

namespace PellixTests {
namespace {

TEST(Version, IsThereAsPlainData) {
  EXPECT_EQ(PellixProvidersSDKVersionNumber, 1.0);
  EXPECT_STREQ(reinterpret_cast<const char*>(PellixProvidersSDKVersionString),
               "@(#)PROGRAM:PellixProvidersSDK  PROJECT:PellixProvidersSDK-1\n");
}

}  // namespace
}  // namespace PellixTests
