#include "Client.h"
#include "Support/Rows.h"

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>
#include <gmock/gmock.h>

namespace QuorvelCoreSDK {
namespace {

TEST(AccountTest, SaysWhichAddressesItServes) {
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Addresses.txt")) {
    SCOPED_TRACE(row[0]);
    const auto earlier = Quorvel::instance();
    const auto quorvel = Quorvel::initialize({row[0], "application", "client"});
    EXPECT_EQ(Quorvel::instance(), quorvel.value_or(earlier));
    if (quorvel) {
      const auto& account = (*quorvel)->accountDetails();
      EXPECT_EQ(account.accountUrl() + account.applicationId() + account.clientId(),
                row[1] + "applicationclient");
    } else {
      EXPECT_EQ(std::to_string(quorvel.error().code()), row[1]);
      EXPECT_THAT(quorvel.error().description(), testing::HasSubstr(row.at(2)));
    }
  }
}

TEST(AccountTest, SendsItsTokenToItsOwnOriginAndOnlyWhatCanStandInARequest) {
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Destinations.txt")) {
    SCOPED_TRACE(testing::PrintToString(row));
    const auto token = row[1] == "-" ? std::nullopt : std::optional(row[1]);
    const auto transport = std::make_shared<Testing::ScriptedTransport>();
    transport->answer("/x", 200, "");
    const Client client(row[0], {.token = [&token] { return token; }, .transport = transport});
    auto parameters = client.parameters();
    parameters.requiresAuth = row[1] != "unasked";
    parameters.urlComponent = PellixPlatform::URL::parse(row[4]).value();
    parameters.clientHeaders = makeClientHeaders("Tester", "1.2.3", {{row[2], row[3]}});
    auto outcome = Client::begin(std::move(parameters));
    EXPECT_EQ(outcome.wait_for(std::chrono::seconds(0)), std::future_status::timeout)
        << "answered within the call";
    EXPECT_FALSE(client.quorvel->waitUntilIdle(std::chrono::milliseconds(0)));
    transport->run();
    EXPECT_TRUE(client.quorvel->waitUntilIdle(std::chrono::milliseconds(0)));
    const auto ended = valueOf(std::move(outcome));
    EXPECT_EQ(std::to_string(std::to_underlying(ended.code())), row[5]) << ended.text();
    EXPECT_THAT(ended.text(), testing::Not(testing::HasSubstr("s3cret")));
    EXPECT_EQ(transport->requests().size(), row[5] == "0" ? 1U : 0U);
  }
}

/// RFC 9110, sections 5.5 and 5.6.2.
TEST(AccountTest, SendsHeaderFieldsOfProperBytesAlone) {
  const std::string_view proper =
      "!#$%&'*+-.^_`|~0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const auto transport = std::make_shared<Testing::ScriptedTransport>();
  transport->answer("/x", 200, "");
  const Client client("https://acme.example", {.transport = transport});
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const bool isInValue = byte == '\t' || (byte >= ' ' && byte != 0x7F);
    for (const auto& [name, value, isProper] :
         {std::tuple{text, std::string(), proper.contains(text)}, {"X", text, isInValue}}) {
      auto parameters = client.parameters();
      parameters.clientHeaders = makeClientHeaders("Tester", "1.2.3", {{name, value}});
      auto outcome = Client::begin(std::move(parameters));
      transport->run();
      EXPECT_EQ(valueOf(std::move(outcome)).status() == 200, isProper) << byte;
    }
  }
}

TEST(AccountTest, AnswersOnAQueueWithoutAnInstance) {
  ProviderService::Parameters parameters{
      .environment = {"https://account.example", "a", "c"},
      .urlComponent = PellixPlatform::URL::parse("https://account.example/x").value(),
      .clientHeaders = makeClientHeaders("Tester", "1.2.3")};
  for (PellixPlatform::DispatchQueue own;
       auto* queue : {&own, &PellixPlatform::DispatchQueue::main()}) {
    parameters.dispatchQueue = queue == &own ? queue : nullptr;
    auto outcome = Client::begin(parameters);
    queue->runPending();
    EXPECT_EQ(valueOf(std::move(outcome)).code(), CoreErrorCode::notInitialized);
  }
}

}  // namespace
}  // namespace QuorvelCoreSDK
