#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/internal/File.h>

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <cerrno>

namespace PlatformTests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using PellixPlatform::Bundle;
using PellixPlatform::InfoValue;
using Support::TemporaryDirectory;

void use(const TemporaryDirectory& directory) {
  ASSERT_TRUE(Bundle::setResourceDirectory(directory.path()));
}

/// What a file holds, the error that reading it gives, or that there is none.
std::string contents(const Bundle& bundle, std::string_view name, std::string_view extension) {
  const auto data = bundle.dataForResource(name, extension);
  if (!data) return "none";
  return *data ? **data : "error " + std::to_string(data->error().code());
}

TEST(Bundle, ReadsItsInformationDictionary) {
  constexpr auto info = R"(<plist><dict>
      <key>text</key><string>1.2.3</string><key>integer</key><integer>42</integer>
      <key>real</key><real>1.5</real><key>huge</key><integer>9223372036854775808</integer>
      <key>beyond</key><real>1e400</real><key>yes</key><true/><key>no</key><false/>
      <key>list</key><array><string>a</string><dict/></array>
      <key>dictionary</key><dict><key>inner</key><true/></dict>
      <key>data</key><data>AA==</data><key>text</key><string>again</string></dict></plist>)";
  const std::pair<const char*, std::optional<InfoValue>> cases[] = {
      {"text", InfoValue("1.2.3")}, {"integer", InfoValue(std::int64_t{42})},
      {"real", InfoValue(1.5)},     {"huge", InfoValue(9223372036854775808.0)},
      {"beyond", InfoValue()},      {"yes", InfoValue(true)},
      {"no", InfoValue(false)},     {"list", InfoValue()},
      {"dictionary", InfoValue()},  {"data", InfoValue()},
      {"inner", std::nullopt},      {"Text", std::nullopt},
      {"", std::nullopt},
  };
  const Bundle::Resource carried[] = {{"Info.plist", info}};
  const Bundle bundle(carried);
  for (const auto& [key, expected] : cases) {
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(key), expected) << key;
  }
}

TEST(Bundle, HasNoInformationWithoutAReadableDictionary) {
  const char* const texts[] = {"", "<plist><array/></plist>", "<plist><true/></plist>",
                               "<plist><dict><key>k</key><true/></dict></plist><"};
  for (const char* text : texts) {
    const Bundle::Resource carried[] = {{"Info.plist", text}};
    EXPECT_EQ(Bundle(carried).objectForInfoDictionaryKey("k"), std::nullopt) << text;
  }
  EXPECT_EQ(Bundle({}).objectForInfoDictionaryKey("k"), std::nullopt);
}

TEST(Bundle, GivesWayToADirectoryWholly) {
  const auto info = [](const std::string& k) {
    return "<plist><dict><key>k</key><string>" + k + "</string></dict></plist>";
  };
  const auto carriedInfo = info("carried");
  const Bundle::Resource carried[] = {{"Info.plist", carriedInfo}, {"A.txt", "a\0b"sv}};
  const Bundle bundle(carried);
  EXPECT_EQ(contents(bundle, "A", "txt"), "a\0b"sv);
  EXPECT_EQ(contents(bundle, "A", "TXT"), "none");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), InfoValue("carried"));

  const TemporaryDirectory first;
  use(first);
  EXPECT_EQ(contents(bundle, "A", "txt"), "none");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), std::nullopt);
  // Nothing of a directory is kept.
  first.write("A.txt", "of the directory");
  first.write("Info.plist", info("first"));
  EXPECT_EQ(contents(bundle, "A", "txt"), "of the directory");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), InfoValue("first"));
  fs::create_directory(first.path() / "B.txt");
  EXPECT_EQ(contents(bundle, "B", "txt"), "error " + std::to_string(EISDIR));

  // A relative path is resolved once.
  const TemporaryDirectory second;
  second.write("Info.plist", info("second"));
  fs::current_path(second.path().parent_path());
  ASSERT_TRUE(Bundle::setResourceDirectory(second.path().filename()));
  fs::current_path("/");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), InfoValue("second"));
}

TEST(Bundle, RefusesADirectoryThatIsNotThere) {
  const TemporaryDirectory directory;
  directory.write("file", "");
  directory.write("file.txt", "still this one");
  const auto file = directory.path() / "file";
  use(directory);
  const std::pair<fs::path, int> cases[] = {
      {directory.path() / "none", ENOENT},
      {"", ENOENT},
      {file, ENOTDIR},
      {file / "below", ENOTDIR},
      {directory.path() / std::string("a\0b", 3), EINVAL},
      {directory.path() / std::string(300, 'x'), ENAMETOOLONG},
  };
  for (const auto& [path, code] : cases) {
    const auto set = Bundle::setResourceDirectory(path);
    ASSERT_FALSE(set) << path;
    EXPECT_EQ(set.error().domain(), PellixPlatform::FileErrorDomain);
    EXPECT_EQ(set.error().code(), code) << path;
  }
  EXPECT_EQ(contents(Bundle({}), "file", "txt"), "still this one");
}

TEST(Bundle, RemembersNoReadingThatFailed) {
  const TemporaryDirectory directory;
  directory.write("Info.plist", "<plist><dict><key>k</key><true/></dict></plist>");
  use(directory);
  const Bundle bundle({});
  rlimit usual{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
  const rlimit none{0, usual.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), std::nullopt);
  EXPECT_EQ(contents(bundle, "Info", "plist"), "error " + std::to_string(EMFILE));
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), InfoValue(true));
}

TEST(ReadFile, ReadsAllBytes) {
  const TemporaryDirectory directory;
  for (const std::size_t size : {0U, 1U, 16'384U, 100'001U}) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i % 251);
    directory.write("file", content);
    EXPECT_TRUE(PellixPlatform::readFile(directory.path() / "file") == content) << size;
  }
  EXPECT_EQ(PellixPlatform::readFile(directory.path() / "none").error().description(),
            "Platform.FileError (2): The file \"none\" can't be read: No such file or directory.");
}

}  // namespace
}  // namespace PlatformTests
