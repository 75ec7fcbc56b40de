#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"
#include "Support/StandardOutput.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>

#include <gmock/gmock.h>

namespace PellixTests {
namespace {

using QuorvelCoreSDK::HttpMethod;

std::string entry(const std::string& name, const std::string& urlString,
                  const std::string& method = "POST") {
  return "<dict><key>name</key><string>" + name + "</string><key>urlString</key><string>" +
         urlString + "</string><key>method</key><string>" + method + "</string></dict>";
}

const std::string usual = entry("interaction", "%@/answers/v1/interactions");
const std::string others = entry("resolve", "%@/r") + entry("reject", "%@/j");

struct Case {
  const char* what;
  /// The elements of the list; "missing" and "directory" stand for there being no file.
  std::string table;
  /// What is printed on standard output.
  const char* printed;
  /// What becomes of a query, and of the next one.
  std::string outcome;
  /// Where they go; null: nowhere, and neither the locale nor the settings are fetched.
  const char* url = nullptr;
  HttpMethod method = HttpMethod::post;
  const char* settings = enabled;
};

void place(const Support::TemporaryDirectory& resources, const std::string& table) {
  if (table == "missing") return;
  if (table == "directory") {
    std::filesystem::create_directory(resources.path() / "Endpoints.plist");
  } else {
    resources.write("Endpoints.plist", "<plist>" + table + "</plist>");
  }
}

void check(const Case& expected) {
  const Support::TemporaryDirectory resources;
  place(resources, expected.table);
  ASSERT_TRUE(PellixPlatform::Bundle::setResourceDirectory(resources.path()));
  const Support::StandardOutput output;
  Host host;
  host.transport->answer(std::string(accountSettings), 200, expected.settings);
  if (expected.url) host.transport->answer(expected.url, 200, responseJSON());

  EXPECT_EQ(host.outcomeOf(), expected.outcome);
  EXPECT_THAT(output.text(), testing::MatchesRegex(expected.printed));
  EXPECT_THAT(host.newLines(), testing::Contains("debug: UUID for deflection: " + host.UUID));
  if (!expected.url && expected.outcome == "silence") {
    EXPECT_THAT(host.transport->requests(), testing::IsEmpty());
  } else if (expected.url) {
    EXPECT_EQ(host.transport->requests().back().url.string(), expected.url);
    EXPECT_EQ(host.transport->requests().back().method, expected.method);
  }

  // Nothing is read again: neither what has come to be there since, nor what went wrong before.
  std::filesystem::remove_all(resources.path() / "Endpoints.plist");
  place(resources, "<array>" + entry("interaction", "https://later.example/%@") + "</array>");
  EXPECT_EQ(host.outcomeOf(), expected.outcome);
  EXPECT_THAT(output.text(), testing::MatchesRegex(expected.printed));
}

TEST(Endpoints, AreReadOnceFromTheResources) {
  const char* const nothing = "";
  const char* const aLine = "Error: [^\n]+\n";
  const std::string url = "https://acme.example/answers/v1/interactions";
  const Case cases[] = {
      {"missing", "missing", nothing, "silence"},
      {"not to be read", "directory", "Error: [^\n]*Endpoints.plist[^\n]*\n", "silence"},
      {"malformed", "<array>" + usual, aLine, "silence"},
      {"not a list", usual, aLine, "silence"},
      {"an entry of another kind", "<array>" + usual + "<string>a</string></array>", aLine,
       "silence"},
      {"an entry without a method",
       "<array>" + usual + others + "<dict><key>name</key><string>n</string>" +
           "<key>urlString</key><string>u</string></dict></array>",
       "Error: [^\n]*method[^\n]*\n", "silence"},
      {"a value that is no text",
       "<array>" + usual + "<dict><key>name</key><string>n</string><key>urlString</key>" +
           "<integer>1</integer><key>method</key><string>m</string></dict></array>",
       "Error: [^\n]*urlString[^\n]*\n", "silence"},
      {"empty", "<array/>", nothing, "silence"},
      {"other operations only", "<array>" + others + "</array>", nothing, "silence"},
      {"another case, blanks",
       "<array>" + entry("Interaction", "%@/a") + entry(" interaction", "%@/b") + "</array>",
       nothing, "silence"},
      {"last", "<array>" + others + usual + "</array>", nothing, "response 7", url.c_str()},
      {"twice", "<array>" + usual + entry("interaction", "%@/second", "PUT") + "</array>", nothing,
       "response 7", url.c_str()},
      {"other keys",
       "<array><dict><key>more</key><array/><key>name</key><string>interaction</string>"
       "<key>method</key><string>pUt</string><key>urlString</key>"
       "<string>%1$@/answers/v1/interactions</string></dict></array>",
       nothing, "response 7", url.c_str(), HttpMethod::put},
      {"an unknown method",
       "<array>" + entry("interaction", "%@/answers/v1/interactions", "PATCH") + "</array>",
       nothing, "response 7", url.c_str(), HttpMethod::get},
      {"no placeholder",
       "<array>" + entry("interaction", "https://answers.example/a%%20") + "</array>", nothing,
       "com.quorvel.core 18"},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    EXPECT_PASSES_IN_A_CHILD(check(expected));
  }
}

TEST(Endpoints, EndAQuerySilentlyIfTheyMakeNoAddress) {
  for (const char* urlString :
       {"%@/a%@", "%s/a", "%d", "%n", "%@/a%", "%2$@", "%@/a b", "%@:x", ""}) {
    SCOPED_TRACE(urlString);
    EXPECT_PASSES_IN_A_CHILD({
      const Support::TemporaryDirectory resources;
      place(resources, "<array>" + entry("interaction", urlString) + "</array>");
      EXPECT_TRUE(PellixPlatform::Bundle::setResourceDirectory(resources.path()));
      const Support::StandardOutput output;
      const Host host;
      EXPECT_EQ(host.outcomeOf(), "silence");
      EXPECT_THAT(host.requestedPaths(), testing::ElementsAre(knowledgeSettings, accountSettings));
      // Whatever else is wrong: what is disabled says so.
      const Host without(std::make_shared<OwnSettings>(disabled));
      EXPECT_EQ(without.outcomeOf(), "QV_Pellix_Disabled 1006");
      EXPECT_EQ(output.text(), "");
    });
  }
}

TEST(Endpoints, AreReadOnceByManyThreads) {
  EXPECT_PASSES_IN_A_CHILD({
    const Host host;
    std::vector<std::unique_ptr<Outcome>> outcomes;
    for (int i = 0; i < 8; ++i) outcomes.push_back(std::make_unique<Outcome>());
    std::vector<std::thread> threads;
    for (auto& outcome : outcomes) {
      threads.emplace_back([&host, to = outcome.get()] {
        for (int i = 0; i < 20; ++i) host.ask(*to);
      });
    }
    for (auto& thread : threads) thread.join();
    Support::settle(*host.transport);
    EXPECT_EQ(host.sentQueries(), 160U);
    for (const auto& outcome : outcomes) EXPECT_EQ(outcome->results.size(), 20U);
  });
}

}  // namespace
}  // namespace PellixTests
