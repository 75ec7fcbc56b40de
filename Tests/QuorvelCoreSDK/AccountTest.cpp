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
    ASSERT_EQ(quorvel.has_value(), row.size() == 2);
    EXPECT_EQ(Quorvel::instance(), quorvel ? *quorvel : earlier);
    if (quorvel) {
      const auto& account = (*quorvel)->accountDetails();
      EXPECT_EQ(account.accountUrl(), row[1]);
      EXPECT_EQ(account.applicationId() + account.clientId(), "applicationclient");
    } else {
      EXPECT_EQ(std::to_string(quorvel.error().code()), row[1]);
      EXPECT_THAT(quorvel.error().description(), testing::HasSubstr(row[2]));
    }
  }
}

TEST(AccountTest, SendsItsTokenToItsOwnOriginHoweverThatIsWritten) {
  const std::pair<const char*, const char*> cases[] = {
      {"https://account.example", "https://ACCOUNT.example:443/x"},
      {"https://account.example:443/base", "https://account.example/x"},
      {"http://127.0.0.1:80", "http://127.0.0.1/x"},
      {"https://account.example:8443", "HTTPS://account.example:08443/x"},
  };
  for (const auto& [account, url] : cases) {
    const auto transport = std::make_shared<Testing::ScriptedTransport>();
    const Client client(account, {.transport = transport});
    auto parameters = client.parameters();
    parameters.urlComponent = PellixPlatform::URL::parse(url).value();
    const auto outcome = Client::begin(parameters);
    EXPECT_EQ(transport->requests(url).size(), 1U) << url;

    // Without a token, a request may go anywhere.
    parameters.urlComponent = PellixPlatform::URL::parse("https://other.example/x").value();
    parameters.requiresAuth = false;
    const auto other = Client::begin(parameters);
    EXPECT_EQ(transport->requests("https://other.example/x").size(), 1U);
    transport->drop();
  }
}

TEST(AccountTest, SendsNothingThatCannotStandInARequest) {
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Refused.txt")) {
    SCOPED_TRACE(testing::PrintToString(row));
    const auto token = row[0] == "-" ? std::nullopt : std::optional(row[0]);
    const auto transport = std::make_shared<Testing::ScriptedTransport>();
    const Client client("https://account.example",
                        {.token = [&token] { return token; }, .transport = transport});
    auto parameters = client.parameters();
    parameters.urlComponent = PellixPlatform::URL::parse(row[3]).value();
    parameters.clientHeaders = makeClientHeaders("Tester", "1.2.3", {{row[1], row[2]}});
    auto outcome = Client::begin(std::move(parameters));
    EXPECT_EQ(outcome.wait_for(std::chrono::seconds(0)), std::future_status::timeout)
        << "answered within the call";
    EXPECT_FALSE(client.quorvel->waitUntilIdle(std::chrono::milliseconds(0)));
    transport->run();
    EXPECT_TRUE(client.quorvel->waitUntilIdle(std::chrono::milliseconds(0)));
    const auto ended = valueOf(std::move(outcome));
    EXPECT_EQ(std::to_string(std::to_underlying(ended.code())), row[4]) << ended.text();
    EXPECT_THAT(ended.text(), testing::Not(testing::HasSubstr("s3cret")));
    EXPECT_TRUE(transport->requests().empty());
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
