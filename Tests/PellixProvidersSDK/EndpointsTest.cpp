#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"
#include "Support/StandardOutput.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>

#include <gmock/gmock.h>

namespace PellixTests {
namespace {

using QuorvelCoreSDK::HttpMethod;
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

/// Whether queries are sent, and what is printed.
void checkTable(const std::string& table, bool isFound, const char* printed) {
  const Resources resources(table);
  const Support::StandardOutput output;
  Host host;
  // Nothing is read again: neither what has come to be there since, nor what went wrong before.
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(host.outcomeOf(), isFound ? answered : "silence");
    EXPECT_THAT(output.text(), MatchesRegex(printed));
    EXPECT_EQ(host.newLines().at(0), "debug: UUID for deflection: " + host.UUID);
    resources.place(array(entry("interaction", "%@/later")));
  }
  // Neither the locale nor the settings are fetched for nothing.
  EXPECT_EQ(host.transport->requests().size(), isFound ? 4U : 0U);
  EXPECT_EQ(host.transport->requests(queryPath).size(), isFound ? 2U : 0U);
}

TEST(Endpoints, AreReadOnceFromTheResources) {
  const char* const aLine = "Error: [^\n]+\n";
  const std::tuple<std::string, bool, const char*> cases[] = {
      {"missing", false, ""},
      {"directory", false, "Error: [^\n]*Endpoints.plist[^\n]*\n"},
      {"<array>" + usual, false, aLine},
      {usual, false, aLine},
      {array(usual + "<string>a</string>"), false, aLine},
      {array(usual + "<dict><key>name</key><string>n</string><key>urlString</key><string>u</string>"
                     "</dict>"),
       false, "Error: [^\n]*method[^\n]*\n"},
      {array(others), false, ""},
      {array(entry("Interaction", "%@/a") + entry(" interaction", "%@/b")), false, ""},
      {array(others + usual + entry("interaction", "%@/second")), true, ""},
      {array("<dict><key>more</key><array/><key>name</key><string>interaction</string>"
             "<key>method</key><string>POST</string><key>urlString</key>"
             "<string>%1$@/answers/v1/interactions</string></dict>"),
       true, ""},
  };
  for (const auto& [table, isFound, printed] : cases) {
    SCOPED_TRACE(table);
    EXPECT_PASSES_IN_A_CHILD(checkTable(table, isFound, printed));
  }
}

void checkMethod(const char* text, HttpMethod method) {
  const Resources resources(array(entry("interaction", "%@/answers/v1/interactions", text)));
  const Host host;
  EXPECT_EQ(host.outcomeOf(), answered);
  EXPECT_EQ(host.transport->requests(queryPath).at(0).method, method);
}

TEST(Endpoints, HaveAMethodWhateverItsText) {
  const std::pair<const char*, HttpMethod> cases[] = {
      {"GET", HttpMethod::get},        {"Post", HttpMethod::post},
      {"pUT", HttpMethod::put},        {"put", HttpMethod::put},
      {"DELETE", HttpMethod::delete_}, {"PATCH", HttpMethod::get},
      {" put", HttpMethod::get},       {"", HttpMethod::get}};
  for (const auto& [text, method] : cases) EXPECT_PASSES_IN_A_CHILD(checkMethod(text, method));
}

/// With one template for all operations, what becomes of a query and of a resolution, and how many
/// votes go out.
void checkTemplate(const std::string& urlString, const std::string& outcome, std::size_t votes) {
  const Resources resources(array(entry("interaction", urlString) + entry("resolve", urlString)));
  for (const auto* operation : {&query, &resolution}) {
    const Host host;
    EXPECT_THAT(host.outcomeOf(*operation), MatchesRegex(outcome));
    EXPECT_EQ(host.transport->requests(votePath).size(), operation == &resolution ? votes : 0);
    EXPECT_EQ(host.transport->requests().size(), operation == &query ? 2U : 1U + votes);
    // Whatever else is wrong: what is disabled says so.
    const Host without(std::make_shared<OwnSettings>(disabled));
    EXPECT_EQ(without.outcomeOf(*operation), isDisabled);
  }
}

TEST(Endpoints, ThatMakeNoAddressEndAnOperationSilently) {
  for (const char* urlString : {"%@/a%@", "%n", "%2$@", "%@/a b", ""}) {
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
      EXPECT_THAT(host.requestedPaths(), testing::ElementsAre(accountSettings));  // and no vote
      const Host without(std::make_shared<OwnSettings>(disabled));
      EXPECT_EQ(without.outcomeOf(*operation), isDisabled);
    }
  });
}

}  // namespace
}  // namespace PellixTests
