#include "PellixProvidersSDK/Host.h"

#include <gtest/gtest.h>

#include <functional>

namespace PellixTests {
namespace {

using Response = std::shared_ptr<const DeflectionResponse>;
using Error = std::optional<PellixPlatform::Error>;

int successes = 0;
int failures = 0;

void countResult(const Result<DeflectionResponse>& result) {
  ++(result ? successes : failures);
}

void countOptionals(const Response& response, const Error& error) {
  if (response && !error) ++successes;
  if (!response && error) ++failures;
}

void countFor(int times, const Result<DeflectionResponse>& result) {
  for (int i = 0; i < times; ++i) countResult(result);
}

void countOptionalsFor(int times, const Response& response, const Error& error) {
  for (int i = 0; i < times; ++i) countOptionals(response, error);
}

/// With a callback of every kind, one argument and two in turns.
void askInEveryForm(PellixProvider& to) {
  to.getDeflectionForQuery("q", [](const Result<DeflectionResponse>& r) { countResult(r); });
  to.getDeflectionForQuery("q", [](const Response& r, Error e) { countOptionals(r, e); });
  to.getDeflectionForQuery("q", [](const auto& result) { countResult(result); });
  to.getDeflectionForQuery("q", [](auto response, auto error) { countOptionals(response, error); });
  to.getDeflectionForQuery("q", [n = 1](auto&& result) mutable { countFor(n--, result); });
  to.getDeflectionForQuery("q", [n = 1](auto r, auto e) mutable { countOptionalsFor(n--, r, e); });
  to.getDeflectionForQuery("q", countResult);
  to.getDeflectionForQuery("q", countOptionals);
  to.getDeflectionForQuery("q", std::bind_front(countFor, 1));
  to.getDeflectionForQuery("q", std::bind_front(countOptionalsFor, 1));
  PellixProvidersSDK::PellixProviderProtocol& protocol = to;
  protocol.getDeflectionForQuery("q", countResult);
}

TEST(Callback, MayHaveEitherForm) {
  const Host host;
  successes = failures = 0;
  askInEveryForm(*host.provider);
  host.transport->settle();
  EXPECT_EQ(std::pair(successes, failures), std::pair(11, 0));

  host.transport->answer(std::string(queryPath), 500, "");
  askInEveryForm(*host.provider);
  host.transport->settle();
  EXPECT_EQ(std::pair(successes, failures), std::pair(11, 11));
}

TEST(Callback, MayAskTheNextQuestion) {
  const Host host;
  Outcome second;
  host.provider->getDeflectionForQuery("first", [&](const auto&) { host.ask(second); });
  host.transport->settle();
  EXPECT_EQ(second.text(), "response 7 11 -12");
}

TEST(Callback, MayLetGoOfTheProvider) {
  for (const char* settings : {enabled, disabled}) {
    const auto other = Host::makeQuorvel(nullptr);
    Host host;
    host.transport->answer(std::string(accountSettings), 200, settings);
    const std::weak_ptr<PellixProvider> watch = host.provider;
    int calls = 0;
    host.provider->getDeflectionForQuery("q", [&](const auto&) {
      ++calls;
      host.provider.reset();
      Pellix::initialize(other, host.veltrane);
    });
    host.transport->settle();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(watch.expired());
  }
}

}  // namespace
}  // namespace PellixTests
