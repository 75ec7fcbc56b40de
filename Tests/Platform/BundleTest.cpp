#include "Support/Rows.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/internal/File.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>

namespace PlatformTests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using PellixPlatform::Bundle;
using PellixPlatform::InfoValue;
using Support::TemporaryDirectory;

/// What a file holds, the error that reading it gives, or that there is none.
std::string contents(const Bundle& bundle, std::string_view name, std::string_view extension) {
  const auto data = bundle.dataForResource(name, extension);
  if (!data) return "none";
  return *data ? **data : "error " + std::to_string(data->error().code());
}

/// An entry's type, by its place among those of `InfoValue`, and its value.
std::string described(const std::optional<InfoValue>& entry) {
  if (!entry) return "none";
  if (entry->index() == 0) return "other";
  const auto print = [](const auto& value) { return testing::PrintToString(value); };
  return std::to_string(entry->index()) + " " + std::visit(print, *entry);
}

TEST(Bundle, ReadsItsInformationDictionary) {
  for (const auto& row : Support::rowsOf("Platform/Data/Information.txt")) {
    const Bundle::Resource carried[] = {{"Info.plist", row[0]}};
    for (std::size_t i = 1; i < row.size(); i += 2) {
      const auto entry = Bundle(carried).objectForInfoDictionaryKey(row[i]);
      EXPECT_EQ(described(entry), row[i + 1]) << row[i] << " " << row[0];
    }
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
  ASSERT_TRUE(Bundle::setResourceDirectory(first.path()));
  EXPECT_EQ(contents(bundle, "A", "txt"), "none");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), std::nullopt);
  // Nothing of a directory is kept.
  first.write("A.txt", "of the directory");
  first.write("Info.plist", info("first"));
  EXPECT_EQ(contents(bundle, "A", "txt"), "of the directory");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("k"), InfoValue("first"));
  fs::create_directory(first.path() / "B.txt");
  EXPECT_EQ(contents(bundle, "B", "txt"), "error " + std::to_string(EISDIR));
  fs::create_symlink("C.txt", first.path() / "C.txt");
  EXPECT_EQ(contents(bundle, "C", "txt"), "error " + std::to_string(ELOOP));

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
  ASSERT_TRUE(Bundle::setResourceDirectory(directory.path()));
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

TEST(ReadFile, ReadsAllBytes) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "file";
  EXPECT_EQ(PellixPlatform::readFile(file).error().description(),
            "Platform.FileError (2): The file \"file\" can't be read: No such file or directory.");
  for (const std::size_t size : {0U, 16'384U, 98'305U}) {
    std::string content;
    while (content.size() < size) content += static_cast<char>(content.size() % 251);
    directory.write("file", content);
    EXPECT_TRUE(PellixPlatform::readFile(file) == content) << size;
  }
  // Of a process without a standard input, whose number the file gets.
  const int input = ::dup(STDIN_FILENO);
  ::close(STDIN_FILENO);
  EXPECT_TRUE(PellixPlatform::readFile(file));
  EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1) << "left open";
  ::dup2(input, STDIN_FILENO);
  ::close(input);
}

}  // namespace
}  // namespace PlatformTests
