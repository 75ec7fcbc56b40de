#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <AnswerService.h>
#include <gtest/gtest.h>

namespace {

using namespace PellixProvidersSDK;
using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::Quorvel;
using VeltraneProvidersSDK::Veltrane;

TEST(EndToEnd, OperationsCostNoRequestMoreThanTheyMust) {
  AnswerService::Service service;
  service.start();
  const auto quorvel = *Quorvel::initialize({service.baseUrl(), "application", "client"},
                                            {.token = [&service] { return service.token(); }});
  Pellix::initialize(quorvel, Veltrane::initialize(quorvel));
  const auto provider = Pellix::instance()->provider();
  const auto requestsInAll = [&] {
    quorvel->waitUntilIdle(std::chrono::seconds(10));
    std::string text;
    for (const auto& [name, count] : service.record().requests) text += std::to_string(count);
    return text;
  };
  std::shared_ptr<const DeflectionResponse> answer;
  const auto ask = [&] {
    const std::string question("👩‍👩‍👧 \"forgot\" *\\ password\0", 40);
    provider->getDeflectionForQuery(question, [&](Result<DeflectionResponse> result) {
      answer = result.value_or(nullptr);
      DispatchQueue::main().stop();
    });
  };
  const auto requests = [&] {
    DispatchQueue::main().run();
    return requestsInAll();
  };
  quorvel->prepare();
  EXPECT_EQ(requestsInAll(), "0100010");  // settings of both kinds
  ask();
  EXPECT_EQ(requests(), "1100010");  // an interaction
  ask();
  EXPECT_EQ(requests(), "2100010");
  ASSERT_TRUE(answer);
  provider->resolveWithArticle(
      answer->deflection()->deflectionID(), answer->deflectionArticles().at(0)->articleId(),
      answer->interactionAccessToken(), [](const auto&) { DispatchQueue::main().stop(); });
  EXPECT_EQ(requests(), "2100111");  // a resolution and a vote
  EXPECT_EQ(service.record().resolutions.size() + service.record().votes.size(), 2U);
}

}  // namespace
