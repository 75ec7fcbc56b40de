#include "Support/Rows.h"

#include <PellixPlatform/Locale.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace PlatformTests {
namespace {

using PellixPlatform::Locale::preferredLanguages;
using PellixPlatform::Locale::setPreferredLanguages;
using Tags = std::vector<std::string>;

TEST(Locale, TakesThePreferredLanguagesFromTheEnvironment) {
  for (const auto& row : Support::rowsOf("Platform/Data/Locales.txt")) {
    auto value = row.begin();
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      *value == "-" ? ::unsetenv(name) : ::setenv(name, value->c_str(), 1);
      ++value;
    }
    std::istringstream tags(*value);
    const Tags expected(std::istream_iterator<std::string>(tags), {});
    EXPECT_EQ(preferredLanguages(), expected) << testing::PrintToString(row);
  }
}

TEST(Locale, PrefersTheHostsChoice) {
  ::unsetenv("LANGUAGE");
  ::setenv("LC_ALL", "de", 1);
  for (const auto& tags : {Tags{"ja", "en-US"}, Tags{}}) {
    setPreferredLanguages(tags);
    EXPECT_EQ(preferredLanguages(), tags);
  }
  setPreferredLanguages(std::nullopt);
  EXPECT_EQ(preferredLanguages(), Tags{"de"});
}

}  // namespace
}  // namespace PlatformTests
