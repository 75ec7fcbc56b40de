#include "PellixProvidersSDK/Host.h"
#include "Support/ChildProcess.h"
#include "Support/Rows.h"
#include "Support/StandardOutput.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/Bundle.h>

#include <gmock/gmock.h>

namespace PellixTests {
namespace {

using testing::MatchesRegex;

std::string entry(const std::string& name, const std::string& urlString) {
  return "<dict><key>name</key><string>" + name + "</string><key>urlString</key><string>" +
         urlString + "</string><key>method</key><string>POST</string></dict>";
}

std::string array(const std::string& entries) {
  return "<array>" + entries + "</array>";
}

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

/// What becomes of a query with a table, the method of its request, and what is printed.
void checkTable(const std::vector<std::string>& row) {
  const Resources resources(row[0]);
  const Support::StandardOutput output;
  Host host;
  // Nothing is read again: neither what has come to be there since, nor what went wrong before.
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(host.outcomeOf(), row[1]);
    EXPECT_THAT(output.text(), MatchesRegex(row[3]));
    EXPECT_EQ(host.newLines().at(0), "debug: UUID for deflection: " + host.UUID);
    resources.place(array(entry("interaction", "%@/later")));
  }
  // Neither the locale nor the settings are fetched for nothing.
  EXPECT_EQ(host.requestedPaths().size(), row[2].empty() ? 0U : 4U);
  const char* const methods[] = {"GET", "POST", "PUT", "DELETE"};
  for (const auto& request : host.transport->requests(queryPath)) {
    EXPECT_EQ(methods[std::to_underlying(request.method)], row[2]);
  }
}

TEST(Endpoints, AreReadOnceFromTheResources) {
  for (const auto& row : Support::rowsOf("PellixProvidersSDK/Data/Endpoints.txt")) {
    SCOPED_TRACE(row[0]);
    EXPECT_PASSES_IN_A_CHILD(checkTable(row));
  }
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

TEST(Endpoints, ThatMakeNoAddressOfTheAccountsServerGetNoRequest) {
  for (const char* urlString : {"%@/a%@", "%n", "%2$@", "%@/a b", ""}) {
    SCOPED_TRACE(urlString);
    EXPECT_PASSES_IN_A_CHILD(checkTemplate(urlString, "silence", 0));
  }
  for (const char* urlString : {"https://other.example/a", "https://acme.example:444/a"}) {
    SCOPED_TRACE(urlString);
    EXPECT_PASSES_IN_A_CHILD(checkTemplate(urlString, "com.quorvel.core 18 .*", 1));
  }
}

TEST(Endpoints, OfReportsAreLookedUpBehindTheGate) {
  EXPECT_PASSES_IN_A_CHILD({
    const Resources resources(array(entry("interaction", "%@/answers/v1/interactions")));
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
