#include "Client.h"
#include "Support/ChildProcess.h"
#include "Support/Sanitized.h"
#include "Support/TemporaryDirectory.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <latch>
#include <list>
#include <set>

namespace QuorvelCoreSDK {
namespace {

using Support::httpReply;
using Support::LoopbackReply;
using Support::LoopbackRequest;
using Support::LoopbackServer;

LoopbackReply echo(const LoopbackRequest& request) {
  return {httpReply("200 OK", request.body)};
}

std::set<int> openDescriptors() {
  std::set<int> descriptors;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    descriptors.insert(std::stoi(entry.path().filename().string()));
  }
  return descriptors;
}

std::set<int> inheritedDescriptors() {
  auto descriptors = openDescriptors();
  std::erase_if(descriptors, [](int each) { return ::fcntl(each, F_GETFD) != 0; });
  return descriptors;
}

/// The sockets of this process that are connected to a server.
std::set<int> socketsTo(const LoopbackServer& server) {
  auto descriptors = openDescriptors();
  std::erase_if(descriptors, [&server](int each) {
    sockaddr_in peer{};  // has its port where others have it
    socklen_t size = sizeof peer;
    ::getpeername(each, reinterpret_cast<sockaddr*>(&peer), &size);
    return ntohs(peer.sin_port) != server.port();
  });
  return descriptors;
}

TEST(ConcurrencyTest, ManyThreadsLoseNothingAndBeyondABoundRequestsWaitForAConnection) {
  constexpr int bound = 16;
  const auto before = openDescriptors().size();
  for (const auto then : {LoopbackReply::Then::keep, LoopbackReply::Then::close}) {
    std::latch full(bound);
    std::atomic<int> arrived = 0;
    std::atomic<int> open = 0;
    std::atomic<bool> wereTooMany = false;
    const LoopbackServer server([&](const LoopbackRequest& request) {
      if (++open > bound) wereTooMany = true;
      if (++arrived <= bound) full.arrive_and_wait();
      --open;
      return LoopbackReply{httpReply("200 OK", request.body), then};
    });
    const Client client(server.origin());
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i) {
      threads.emplace_back([&client, i] {
        std::map<std::string, std::future<Outcome>> outcomes;
        for (int j = 0; j < 50; ++j) {
          auto parameters = client.parameters();
          const auto body = std::to_string(100 * i + j);
          parameters.body = body;
          outcomes[body] = Client::begin(std::move(parameters));
        }
        for (auto& [body, outcome] : outcomes) EXPECT_EQ(valueOf(std::move(outcome)).data, body);
      });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(arrived, 800);
    EXPECT_FALSE(wereTooMany);
  }
  EXPECT_LT(openDescriptors().size(), before + 200);
}

TEST(ConcurrencyTest, RequestsInARowShareAConnectionAndADeadOneIsReplaced) {
  for (const bool isIPv6 : {false, true}) {
    std::atomic<int> arrived = 0;
    const auto resetTenth = [&](const LoopbackRequest& request) {
      return ++arrived == 10 ? LoopbackReply{"", LoopbackReply::Then::reset} : echo(request);
    };
    std::optional<LoopbackServer> server;
    try {
      server.emplace(resetTenth, LoopbackServer::Options{.isIPv6 = isIPv6});
    } catch (const std::runtime_error& reason) {
      GTEST_SKIP() << reason.what();
    }
    const auto endless = std::chrono::milliseconds::max();  // a limit too
    const Client client(server->origin(),
                        {.network = {.connectTimeout = endless, .requestTimeout = endless}});
    for (int i = 0; i < 20; ++i) EXPECT_EQ(client.perform().status(), 200);
    EXPECT_EQ(server->connections(), 2U);
    EXPECT_EQ(server->requests().size(), 21U);
    const auto sockets = socketsTo(*server);
    ASSERT_EQ(sockets.size(), 1U);
    unsigned int patience = 0;  // milliseconds, if nothing is acknowledged
    socklen_t size = sizeof patience;
    ::getsockopt(*sockets.begin(), IPPROTO_TCP, TCP_USER_TIMEOUT, &patience, &size);
    EXPECT_EQ(patience, 15'000U);
  }
}

TEST(ConcurrencyTest, WhatComesUnaskedIsNoReplyToALaterRequest) {
  for (const auto& identity :
       {std::optional<Support::LoopbackIdentity>(), std::optional(Support::makeIdentity({}))}) {
    int call = 0;
    const std::string body(40'000, ' ');  // is not read at once
    std::promise<void> mayFollow;
    std::promise<void> hasFollowed;
    const auto handler = [&](const LoopbackRequest& request) -> LoopbackReply {
      if (request.connection == 0)
        return {httpReply("200 OK", body) + httpReply("200 OK", "stray")};
      if (request.connection > 1) return {httpReply("200 OK", "second")};
      switch (++call) {
        case 1:
          return {httpReply("200 OK", "first"), LoopbackReply::Then::more};
        case 2:
          mayFollow.get_future().wait();
          return {httpReply("200 OK", "stray"), LoopbackReply::Then::more};
        default:
          hasFollowed.set_value();
          return {"", LoopbackReply::Then::stall};
      }
    };
    const LoopbackServer server(handler, {.identity = identity});
    const Support::TemporaryDirectory directory;
    if (identity) directory.write("trusted", identity->certificate);
    const auto trusted = identity ? directory.path() / "trusted" : std::filesystem::path();
    const Client client(server.origin(), {.network = {.certificateAuthorities = trusted}});
    EXPECT_EQ(client.perform().data, body);
    EXPECT_EQ(client.perform().data, "first");
    mayFollow.set_value();
    hasFollowed.get_future().wait();
    EXPECT_EQ(client.perform().data, "second");
  }
}

TEST(ConcurrencyTest, AConnectionThatTheServerClosesIsClosedOnceNobodyUsesIt) {
  const std::string body(40'000, ' ');  // is not read at once
  for (const bool isInUse : {false, true}) {
    std::optional<Client> client;
    std::promise<void> isAnswered;
    const LoopbackServer server([&](const LoopbackRequest& request) -> LoopbackReply {
      if (request.head.empty()) {
        isAnswered.get_future().wait();
        return {"", LoopbackReply::Then::close};
      }
      if (!isInUse) return {httpReply("200 OK", body), LoopbackReply::Then::more};
      std::promise<void> isHeld;
      client->quorvel->post([&] {  // until the end has come, too
        pollfd end{.fd = *socketsTo(server).begin(), .events = POLLRDHUP, .revents = 0};
        isHeld.set_value();
        ::poll(&end, 1, -1);
      });
      isHeld.get_future().wait();
      return {httpReply("200 OK", body), LoopbackReply::Then::close};
    });
    client.emplace(server.origin());
    EXPECT_EQ(client->perform().data, body);
    isAnswered.set_value();
    const auto latest = std::chrono::steady_clock::now() + generousLimit;
    while (!socketsTo(server).empty() && std::chrono::steady_clock::now() < latest) {
      std::this_thread::yield();
    }
    EXPECT_TRUE(socketsTo(server).empty()) << isInUse;
  }
}

void checkThatNoneIsAdded() {
  const auto before = inheritedDescriptors();
  const LoopbackServer server(replying(httpReply("200 OK")));
  EXPECT_EQ(Client(server.origin()).perform().status(), 200);
  EXPECT_EQ(inheritedDescriptors(), before);
}

TEST(ConcurrencyTest, ProgramsThatTheHostStartsInheritNoDescriptor) {
  EXPECT_PASSES_IN_A_CHILD(checkThatNoneIsAdded());
}

TEST(ConcurrencyTest, WhoWaitsForAConnectionHasALimitToo) {
  const LoopbackServer server(replying("", LoopbackReply::Then::stall));
  const Client patient(server.origin());
  const Client hurried(server.origin(),
                       {.network = {.requestTimeout = std::chrono::milliseconds(50)}});
  const Client calm(server.origin(),
                    {.network = {.requestTimeout = std::chrono::milliseconds(100)}});
  std::vector<std::future<Outcome>> stalled;
  for (int i = 0; i < 270; ++i) {
    stalled.push_back(Client::begin(patient.parameters()));
    if (i % 27 == 0) {
      auto later = Client::begin(calm.parameters());
      EXPECT_EQ(hurried.perform().code(), CoreErrorCode::timedOut);
      EXPECT_EQ(valueOf(std::move(later)).code(), CoreErrorCode::timedOut);
    }
  }
  auto obliging = hurried.parameters();
  obliging.waitsForConnection = true;
  EXPECT_EQ(valueOf(Client::begin(std::move(obliging))).code(), CoreErrorCode::timedOut);
  for (auto& outcome : stalled) {
    EXPECT_EQ(outcome.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  }
}

TEST(ConcurrencyTest, WhatTimesOutLeavesNoDescriptorOpen) {
  std::atomic<int> descriptor = -1;
  const LoopbackServer server([&](const auto&) -> LoopbackReply {
    for (const int each : socketsTo(server)) descriptor = each;
    return {"", LoopbackReply::Then::stall};
  });
  const Client client(server.origin(), {.network = {.requestTimeout = std::chrono::seconds(1)}});
  EXPECT_EQ(client.perform().code(), CoreErrorCode::timedOut);
  EXPECT_NE(descriptor, -1);
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST(ConcurrencyTest, ABusyServerDoesNotShutTheOthersOut) {
  constexpr int stalled = 240;  // requests: all that are on their way at once, but for one server's
  constexpr int busy = 400;
  std::list<LoopbackServer> servers;
  std::vector<std::string> origins;
  for (int i = 0; i < 17; ++i) {
    const auto& server = servers.emplace_back([](const LoopbackRequest& request) -> LoopbackReply {
      if (request.head.starts_with("GET /stall ")) return {"", LoopbackReply::Then::stall};
      return echo(request);
    });
    origins.push_back(server.origin());
  }
  std::ranges::sort(origins);  // as the busy one has its turn first
  const auto transport = makeTransport({.ignoreProxyEnvironment = true}).value();
  std::latch ended(stalled + busy + 1);
  std::atomic<int> busyOnes = 0;
  std::promise<int> busyBefore;
  const auto send = [&](const std::string& url, auto answered) {
    transport->send({.url = PellixPlatform::URL::parse(url).value()}, [&, answered](const auto&) {
      answered();
      ended.count_down();
    });
  };
  std::promise<void> mayBegin;
  transport->post([begins = mayBegin.get_future().share()] { begins.wait(); });
  for (int i = 0; i < busy; ++i) send(origins.front(), [&] { ++busyOnes; });
  for (int i = 0; i < stalled; ++i) {
    send(origins[1 + static_cast<std::size_t>(i) % 15] + "/stall", [] {});
  }
  send(origins.back(), [&] { busyBefore.set_value(busyOnes); });
  mayBegin.set_value();
  EXPECT_LT(valueOf(busyBefore.get_future()), busy / 2);
  servers.clear();
  ended.wait();
}

void waitUntilItSleeps(pid_t thread) {
  const auto state = "/proc/self/task/" + std::to_string(thread) + "/stat";
  for (std::string line; !line.contains(") S "); std::this_thread::yield()) {
    std::getline(std::ifstream(state), line);
  }
}

TEST(ConcurrencyTest, TheThreadSleepsWhileItHasNothingToDo) {
  const LoopbackServer server(replying("", LoopbackReply::Then::stall));
  const Client hurried(server.origin(),
                       {.network = {.requestTimeout = std::chrono::milliseconds(50)}});
  EXPECT_EQ(hurried.perform().code(), CoreErrorCode::timedOut);
  std::promise<pid_t> thread;
  hurried.quorvel->post([&] { thread.set_value(gettid()); });
  waitUntilItSleeps(valueOf(thread.get_future()));
}

TEST(ConcurrencyTest, WhatIsUnderWayWhenTheHostShutsDownGoesNoFurther) {
  constexpr int bound = 16;
  std::latch full(bound);
  std::promise<void> mayEnd;
  std::promise<void> mayGoOn;
  const auto goesOn = mayGoOn.get_future().share();
  const LoopbackServer server([&](const LoopbackRequest& request) {
    if (!request.body.empty()) full.count_down();
    if (request.body == "first") mayEnd.get_future().wait();
    if (request.body == "question") goesOn.wait();
    return echo(request);
  });
  const auto transport = makeTransport().value();
  std::vector<std::future<Outcome>> outcomes;
  std::promise<pid_t> thread;
  auto parameters = Client(server.origin()).parameters();
  parameters.body = "first";
  ProviderService(parameters).perform([&](auto...) {  // makes room for one of those that wait
    transport->post([&] {
      transport->post([] { ADD_FAILURE() << "it was not dropped"; });
      outcomes.push_back(Client::begin(Client(server.origin()).parameters()));
      EXPECT_TRUE(Quorvel::shutDown(generousLimit));  // does not wait for its own thread
      thread.set_value(gettid());
    });
    transport->post([] { ADD_FAILURE() << "it was not dropped either"; });
  });
  for (int i = 1; i < bound + 4; ++i) {
    parameters.body = "question";
    outcomes.push_back(Client::begin(parameters));
  }
  full.wait();
  mayEnd.set_value();
  waitUntilItSleeps(valueOf(thread.get_future()));
  EXPECT_TRUE(Quorvel::shutDown(std::chrono::seconds(15)));  // wakes it
  EXPECT_TRUE(Quorvel::shutDown(std::chrono::milliseconds::max()));
  mayGoOn.set_value();
  const auto shutDownAndSetUp = [&] {
    Quorvel::shutDown(std::chrono::milliseconds(0));
    static_cast<void>(Client(server.origin()));
    return secret;
  };
  outcomes.push_back(
      Client::begin(Client(server.origin(), {.token = shutDownAndSetUp}).parameters()));
  for (auto& outcome : outcomes) EXPECT_THROW(static_cast<void>(outcome.get()), std::future_error);
  EXPECT_EQ(Client(server.origin()).perform().status(), 200);
  EXPECT_EQ(server.requests().size(), bound + 1U);
  EXPECT_EQ(server.connections(), bound);
}

TEST(ConcurrencyTest, ConnectionsToManyServersAreKept) {
  std::list<LoopbackServer> servers;
  for (int i = 0; i < 20; ++i) servers.emplace_back(echo);
  for (int i = 0; i < 2; ++i) {
    for (const auto& server : servers) EXPECT_EQ(Client(server.origin()).perform().status(), 200);
  }
  for (const auto& server : servers) EXPECT_EQ(server.connections(), 1U);
}

TEST(ConcurrencyTest, WhoWaitsForTheConnectionOfAnotherOneMakesNone) {
  const LoopbackServer server([](const LoopbackRequest& request) -> LoopbackReply {
    if (request.head.starts_with("GET /stall ")) return {"", LoopbackReply::Then::stall};
    return echo(request);
  });
  const Client client(server.origin());
  std::vector<std::future<Outcome>> outcomes;
  std::promise<void> mayBegin;
  client.quorvel->post([begins = mayBegin.get_future().share()] { begins.wait(); });
  for (int i = 0; i < 6; ++i) {
    auto parameters = client.parameters();
    parameters.waitsForConnection = true;
    outcomes.push_back(Client::begin(std::move(parameters)));
  }
  mayBegin.set_value();
  for (auto& outcome : outcomes) EXPECT_EQ(valueOf(std::move(outcome)).status(), 200);
  EXPECT_LT(server.connections(), 6U);

  const auto stalled = Client::begin(client.parameters("/stall"));
  auto parameters = client.parameters();
  parameters.waitsForConnection = true;
  EXPECT_EQ(valueOf(Client::begin(std::move(parameters))).status(), 200);  // not for long
}

TEST(ConcurrencyTest, MoreServersThanAreRememberedLoseNothing) {
  const LoopbackServer server(echo);
  const auto transport = makeTransport({.ignoreProxyEnvironment = true}).value();
  constexpr int hosts = 200;
  std::latch ended(2 * hosts);
  std::atomic<int> answered = 0;
  for (int i = 0; i < 2 * hosts; ++i) {
    auto url = server.origin();
    if (i % 2 == 1) url.replace(url.find("127.0.0.1"), 9, "127.0.1." + std::to_string(i / 2));
    transport->send({.url = PellixPlatform::URL::parse(url).value()}, [&](TransportReply reply) {
      if (reply.response) ++answered;
      ended.count_down();
    });
  }
  ended.wait();
  EXPECT_EQ(answered, hosts);
}

TEST(ConcurrencyTest, CallbacksRunOnTheWorkerOrOnTheirQueue) {
  const LoopbackServer server(echo);
  const Client client(server.origin());
  const auto worker = client.perform().thread;
  EXPECT_NE(worker, std::this_thread::get_id());
  EXPECT_EQ(client.perform().thread, worker);

  PellixPlatform::DispatchQueue queue;
  auto parameters = client.parameters();
  parameters.dispatchQueue = &queue;
  auto outcome = Client::begin(parameters);
  ASSERT_TRUE(client.quorvel->waitUntilIdle(generousLimit));
  EXPECT_EQ(outcome.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  queue.runPending();
  EXPECT_EQ(valueOf(std::move(outcome)).thread, std::this_thread::get_id());
}

TEST(ConcurrencyTest, CallbacksAreLetGoOfRightAfterTheirCall) {
  const LoopbackServer server(echo);
  const Client client(server.origin());
  PellixPlatform::DispatchQueue queue;
  for (int i = 0; i < 300; ++i) {
    const bool isTask = i % 5 == 4;
    const bool isQueued = !isTask && i % 2 == 0;
    auto held = std::make_shared<int>(i);
    const std::weak_ptr<int> watched = held;
    std::promise<bool> isGone;
    // A task that runs right after the callback looks.
    auto callback = [&, kept = std::move(held)](auto&&...) {
      const auto look = [&] {
        if (isQueued) queue.stop();
        isGone.set_value(watched.expired());
      };
      isQueued ? queue.post(look) : client.quorvel->post(look);
    };
    auto parameters = client.parameters();
    if (isQueued) parameters.dispatchQueue = &queue;
    if (i % 3 == 0) parameters.urlComponent = PellixPlatform::URL::parse("http://refused").value();
    if (isTask) {
      client.quorvel->post(std::move(callback));
    } else {
      ProviderService(parameters).perform(std::move(callback));
    }
    if (isQueued) queue.run();
    EXPECT_TRUE(valueOf(isGone.get_future())) << i;
  }
}

TEST(ConcurrencyTest, WaitingEndsWhenNothingIsUnderWay) {
  std::latch mayAnswer(1);
  const LoopbackServer server([&](const LoopbackRequest& request) {
    if (request.head.starts_with("GET /late")) mayAnswer.wait();
    return echo(request);
  });
  const Client client(server.origin());
  EXPECT_TRUE(client.quorvel->waitUntilIdle(std::chrono::milliseconds(0)));

  ProviderService(client.parameters()).perform(nullptr);
  EXPECT_TRUE(client.quorvel->waitUntilIdle(generousLimit));
  EXPECT_EQ(server.requests().size(), 1U);

  auto outcome = Client::begin(client.parameters("/late"));
  EXPECT_FALSE(client.quorvel->waitUntilIdle(std::chrono::milliseconds(20)));
  EXPECT_TRUE(Client("https://another.example").quorvel->waitUntilIdle(std::chrono::seconds(0)));
  mayAnswer.count_down();
  EXPECT_TRUE(client.quorvel->waitUntilIdle(std::chrono::milliseconds::max()));
  EXPECT_EQ(outcome.wait_for(std::chrono::seconds(0)), std::future_status::ready);

  // A task counts too, and what it starts follows without a gap, one request after the other.
  int left = 10;
  std::function<void()> next = [&] {
    ProviderService(client.parameters()).perform([&](auto, auto, const auto& error) {
      if (!error && --left > 0) next();
    });
  };
  client.quorvel->post(next);
  EXPECT_TRUE(client.quorvel->waitUntilIdle(generousLimit));
  EXPECT_EQ(left, 0);
}

/// For a process that has no worker yet.
void beginWithFewDescriptors() {
  const Client client("http://127.0.0.1:1");
  auto improper = client.parameters();
  improper.clientHeaders = makeClientHeaders("\n", "1");
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const auto before = openDescriptors();
  for (rlimit few{.rlim_cur = 0, .rlim_max = limit.rlim_max};; ++few.rlim_cur) {
    setrlimit(RLIMIT_NOFILE, &few);
    auto outcome = Client::begin(client.parameters());
    auto refused = Client::begin(improper);
    setrlimit(RLIMIT_NOFILE, &limit);
    const auto queued = PellixPlatform::DispatchQueue::main().runPending();
    EXPECT_EQ(valueOf(std::move(refused)).code(), CoreErrorCode::invalidHeader);
    const auto ended = valueOf(std::move(outcome));
    if (ended.code() == CoreErrorCode::cannotConnect) break;  // they were enough
    EXPECT_EQ(queued, 2U);
    EXPECT_EQ(ended.code(), CoreErrorCode::transportFailed);
    EXPECT_NE(ended.text().find("Too many open files"), std::string::npos) << ended.text();
    ASSERT_EQ(openDescriptors(), before);
  }
  const LoopbackServer server(echo);
  EXPECT_EQ(Client(server.origin()).perform().status(), 200);
}

TEST(ConcurrencyTest, AShortageOfDescriptorsIsNotForGood) {
#ifdef IS_ADDRESS_SANITIZED
  GTEST_SKIP() << "Sanitizers look at memory through a pipe, for which there are none.";
#endif
  EXPECT_PASSES_IN_A_CHILD(beginWithFewDescriptors());
}

}  // namespace
}  // namespace QuorvelCoreSDK
