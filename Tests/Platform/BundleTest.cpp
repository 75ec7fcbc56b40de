#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/File.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <clocale>

namespace PlatformTests {
namespace {

namespace fs = std::filesystem;
using PellixPlatform::Bundle;
using PellixPlatform::InfoValue;
using Support::TemporaryDirectory;

int anchor = 1;
char blankAnchor[1 << 20];  // of pages that are not in the image's file

const Bundle& bundleIn(const TemporaryDirectory& directory) {
  Bundle::setResourceDirectory(directory.path());
  return Bundle::containing(&anchor);
}

TEST(Bundle, ReadsItsInformationDictionary) {
  const TemporaryDirectory directory;
  directory.write("Info.plist", R"(<plist><dict>
      <key>text</key><string>1.2.3</string><key>integer</key><integer>42</integer>
      <key>real</key><real>1.5</real><key>huge</key><integer>9223372036854775808</integer>
      <key>beyond</key><real>1e400</real><key>yes</key><true/><key>no</key><false/>
      <key>list</key><array><string>a</string><dict/></array>
      <key>dictionary</key><dict><key>inner</key><true/></dict><key>date</key><date/>
      <key>data</key><data>AA==</data><key>text</key><string>again</string></dict></plist>)");
  const auto& bundle = bundleIn(directory);
  const std::pair<const char*, std::optional<InfoValue>> cases[] = {
      {"text", InfoValue("1.2.3")}, {"integer", InfoValue(std::int64_t{42})},
      {"real", InfoValue(1.5)},     {"huge", InfoValue(9223372036854775808.0)},
      {"beyond", InfoValue()},      {"yes", InfoValue(true)},
      {"no", InfoValue(false)},     {"list", InfoValue()},
      {"dictionary", InfoValue()},  {"date", InfoValue()},
      {"data", InfoValue()},        {"inner", std::nullopt},
      {"Text", std::nullopt},       {"", std::nullopt},
  };
  for (const auto& [key, expected] : cases) {
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(key), expected) << key;
  }
}

TEST(Bundle, HasNoInformationWithoutAReadableDictionary) {
  const TemporaryDirectory missing;
  EXPECT_EQ(bundleIn(missing).objectForInfoDictionaryKey("k"), std::nullopt);
  for (const char* text : {"", "<plist><array/></plist>", "<plist><true/></plist>",
                           "<plist><dict><key>k</key><true/></dict></plist><"}) {
    const TemporaryDirectory directory;
    directory.write("Info.plist", text);
    EXPECT_EQ(bundleIn(directory).objectForInfoDictionaryKey("k"), std::nullopt) << text;
  }
}

TEST(Bundle, FindsResourcesInTheDirectoryThatTheHostSetLast) {
  const TemporaryDirectory first;
  const TemporaryDirectory second;
  const auto list = first.path() / "Endpoints.plist";
  first.write("Endpoints.plist", "");
  const auto& bundle = bundleIn(first);
  EXPECT_EQ(bundle.pathForResource("Endpoints", "plist"), list);
  EXPECT_EQ(bundle.pathForResource("Endpoints", "json"), std::nullopt);
  EXPECT_EQ(bundleIn(second).pathForResource("Endpoints", "plist"), std::nullopt);
  EXPECT_EQ(bundle.pathForResource("Endpoints", "plist"), list);
}

TEST(Bundle, TakesARelativeDirectoryOnce) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "A.txt";
  directory.write("A.txt", "");
  fs::current_path(directory.path().parent_path());
  Bundle::setResourceDirectory(directory.path().filename());
  fs::current_path("/");
  EXPECT_EQ(Bundle::containing(&anchor).pathForResource("A", "txt"), file);
}

TEST(Bundle, IsFoundBesideTheImageThatHoldsTheAddress) {
  fs::current_path("/");
  const auto& bundle = Bundle::containing(&anchor);
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("Cursor"), InfoValue("installed"));
  EXPECT_EQ(&Bundle::containing(blankAnchor + sizeof blankAnchor / 2), &bundle);
}

TEST(Bundle, IsFoundInTheSourcesForAnImageThatIsNotInstalled) {
  // An address of the C library's.
  const auto& bundle = Bundle::containing(std::localeconv());
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("Cursor"), std::nullopt);
  EXPECT_NE(bundle.pathForResource("Info", "plist"), std::nullopt);
}

TEST(ReadFile, ReadsAllBytes) {
  const TemporaryDirectory directory;
  for (const std::size_t size : {0U, 1U, 16'384U, 100'001U}) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i % 251);
    directory.write("file", content);
    EXPECT_TRUE(PellixPlatform::readFile(directory.path() / "file") == content) << size;
  }
}

TEST(ReadFile, SaysWhyItCanNot) {
  const TemporaryDirectory directory;
  const auto error = [](const fs::path& path) {
    return PellixPlatform::readFile(path).error().description();
  };
  EXPECT_EQ(error(directory.path() / "none"),
            "Platform.FileError (2): The file \"none\" can't be read: No such file or directory.");
  EXPECT_THAT(error(directory.path()),
              testing::MatchesRegex("Platform.FileError .21.: The file \"pellix-.{6}\" can't be "
                                    "read: Is a directory."));
  directory.write("file", "");
  EXPECT_EQ(PellixPlatform::readFile(directory.path() / "file/below").error().code(), ENOTDIR);
}

}  // namespace
}  // namespace PlatformTests
