#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"
#include "Support/StandardOutput.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>

#include <gmock/gmock.h>

namespace PellixTests {
namespace {

using QuorvelCoreSDK::HttpMethod;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

std::string entry(const std::string& name, const std::string& urlString,
                  const std::string& method = "POST") {
  return "<dict><key>name</key><string>" + name + "</string><key>urlString</key><string>" +
         urlString + "</string><key>method</key><string>" + method + "</string></dict>";
}

std::string array(const std::string& entries) {
  return "<array>" + entries + "</array>";
}

const std::string usual = entry("interaction", "%@/answers/v1/interactions");
const std::string others = entry("resolve", "%@/r") + entry("reject", "%@/j");

/// What stands for the library's resources; "missing" and "directory" stand for there being no
/// file.
class Resources {
 public:
  explicit Resources(const std::string& table) {
    place(table);
    EXPECT_TRUE(PellixPlatform::Bundle::setResourceDirectory(directory_.path()));
  }

  void place(const std::string& table) const {
    const auto file = directory_.path() / "Endpoints.plist";
    std::filesystem::remove_all(file);
    if (table == "missing") return;
    if (table == "directory") {
      std::filesystem::create_directory(file);
    } else {
      directory_.write("Endpoints.plist", "<plist>" + table + "</plist>");
    }
  }

 private:
  const Support::TemporaryDirectory directory_;
};

struct Case {
  const char* what;
  std::string table;
  /// What is printed on standard output.
  const char* printed;
  /// Where queries go; null: nowhere, and neither the locale nor the settings are fetched.
  const char* url = nullptr;
  HttpMethod method = HttpMethod::post;
};

void check(const Case& expected) {
  const Resources resources(expected.table);
  const Support::StandardOutput output;
  Host host;
  if (expected.url) host.transport->answer(expected.url, 200, responseJSON());
  // Nothing is read again: neither what has come to be there since, nor what went wrong before.
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(host.outcomeOf(), expected.url ? "response 7 11 -12" : "silence");
    EXPECT_THAT(output.text(), MatchesRegex(expected.printed));
    EXPECT_EQ(host.newLines().at(0), "debug: UUID for deflection: " + host.UUID);
    resources.place(array(entry("interaction", "%@/later")));
  }
  if (!expected.url) {
    EXPECT_THAT(host.transport->requests(), IsEmpty());
    return;
  }
  EXPECT_EQ(host.transport->requests().back().url.string(), expected.url);
  EXPECT_EQ(host.transport->requests().back().method, expected.method);
}

TEST(Endpoints, AreReadOnceFromTheResources) {
  const char* const nothing = "";
  const char* const aLine = "Error: [^\n]+\n";
  const char* const url = "https://acme.example/answers/v1/interactions";
  const Case cases[] = {
      {"missing", "missing", nothing},
      {"not to be read", "directory", "Error: [^\n]*Endpoints.plist[^\n]*\n"},
      {"malformed", "<array>" + usual, aLine},
      {"not a list", usual, aLine},
      {"an entry of another kind", array(usual + "<string>a</string>"), aLine},
      {"an entry without a method",
       array(usual + "<dict><key>name</key><string>n</string><key>urlString</key>"
                     "<string>u</string></dict>"),
       "Error: [^\n]*method[^\n]*\n"},
      {"a value that is no text",
       array(usual + "<dict><key>name</key><string>n</string><key>urlString</key><integer>1"
                     "</integer><key>method</key><string>m</string></dict>"),
       "Error: [^\n]*urlString[^\n]*\n"},
      {"other operations only", array(others), nothing},
      {"another case, blanks", array(entry("Interaction", "%@/a") + entry(" interaction", "%@/b")),
       nothing},
      {"last", array(others + usual), nothing, url},
      {"twice", array(usual + entry("interaction", "%@/second", "PUT")), nothing, url},
      {"other keys",
       array("<dict><key>more</key><array/><key>name</key><string>interaction</string>"
             "<key>method</key><string>pUt</string><key>urlString</key>"
             "<string>%1$@/answers/v1/interactions</string></dict>"),
       nothing, url, HttpMethod::put},
      {"an unknown method", array(entry("interaction", "%@/answers/v1/interactions", "PATCH")),
       nothing, url, HttpMethod::get},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    EXPECT_PASSES_IN_A_CHILD(check(expected));
  }
}

/// With one template for all operations, what becomes of a query and of a resolution, and how many
/// votes go out.
void checkTemplate(const std::string& urlString, const std::string& outcome, std::size_t votes) {
  const Resources resources(array(entry("interaction", urlString) + entry("resolve", urlString)));
  for (const auto* operation : {&query, &resolution}) {
    const Host host;
    EXPECT_THAT(host.outcomeOf(*operation), MatchesRegex(outcome));
    EXPECT_EQ(host.transport->requests(accountSettings).size(), 1U);
    const auto voted = operation == &resolution ? votes : 0;
    EXPECT_EQ(host.transport->requests(votePath).size(), voted);
    EXPECT_EQ(host.transport->requests().size(), operation == &query ? 2U : 1U + voted);
    // Whatever else is wrong: what is disabled says so.
    const Host without(std::make_shared<OwnSettings>(disabled));
    EXPECT_EQ(without.outcomeOf(*operation), isDisabled);
  }
}

TEST(Endpoints, ThatMakeNoAddressEndAnOperationSilently) {
  for (const char* urlString : {"%@/a%@", "%s/a", "%n", "%@/a%", "%2$@", "%@/a b", "%@:x", ""}) {
    SCOPED_TRACE(urlString);
    EXPECT_PASSES_IN_A_CHILD(checkTemplate(urlString, "silence", 0));
  }
}

TEST(Endpoints, OfOtherServersDoNotGetTheToken) {
  for (const char* urlString : {"https://other.example/a", "https://acme.example:444/a"}) {
    EXPECT_PASSES_IN_A_CHILD(checkTemplate(urlString, "com.quorvel.core 18 .*", 1));
  }
}

TEST(Endpoints, OfReportsAreLookedUpBehindTheGate) {
  EXPECT_PASSES_IN_A_CHILD({
    const Resources resources(array(usual));
    for (const auto* operation : {&resolution, &rejection}) {
      const Host host;
      EXPECT_EQ(host.outcomeOf(*operation), "silence");
      EXPECT_THAT(host.requestedPaths(), ElementsAre(accountSettings));  // and there is no vote
      const Host without(std::make_shared<OwnSettings>(disabled));
      EXPECT_EQ(without.outcomeOf(*operation), isDisabled);
    }
  });
}

TEST(Endpoints, AreReadOnceByManyThreads) {
  EXPECT_PASSES_IN_A_CHILD({
    const Host host;
    std::vector<Outcome> outcomes(8 * 20);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < outcomes.size(); i += 20) {
      threads.emplace_back([&, i] {
        for (std::size_t j = 0; j < 20; ++j) host.ask(outcomes[i + j]);
      });
    }
    for (auto& thread : threads) thread.join();
    host.transport->settle();
    for (const auto& outcome : outcomes) EXPECT_EQ(outcome.text(), "response 7 11 -12");
  });
}

}  // namespace
}  // namespace PellixTests
