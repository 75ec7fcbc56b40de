#include "Application.h"
#include "Support/Rows.h"

#include <QuorvelCoreSDK/CoreLogger.h>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <semaphore>
#include <thread>

namespace Faults {
namespace {

using std::chrono::steady_clock;

constexpr unsigned seed = 20'261;
constexpr unsigned threadCount = 16;
constexpr int atOnce = 4;                // operations of each thread
constexpr std::size_t largest = 20'000;  // bytes of a reply

/// How many of each kind, by operation.
using Counts = std::map<std::string, std::array<std::size_t, 3>>;

struct Fault {
  std::string kind;
  LoopbackReply reply;
  std::string query;   // how it ends then
  std::string report;  // how a resolution or a rejection ends
};

std::vector<Fault> readFaults() {
  const Support::Values values{{"{large}", std::string(largest + 1, ' ')}};
  std::vector<Fault> faults;
  for (const auto& row : Support::rowsOf("Faults/Data/Faults.txt", values)) {
    faults.emplace_back(row[0], LoopbackReply{row[2], Support::thenIn(row[1])}, row[3], row[4]);
  }
  return faults;
}

/// A service that fails one request in ten, and keeps count.
struct FailingService {
  LoopbackReply answer(const LoopbackRequest& request) {
    const std::lock_guard lock(mutex);
    const auto& fault =
        faults[std::uniform_int_distribution<std::size_t>(0, faults.size() - 1)(random)];
    const bool fails = !isWell && std::uniform_int_distribution(1, 10)(random) == 1;
    const auto* const path =
        std::ranges::find_if(paths, [&](auto each) { return isFor(request, each); });
    if (path != paths.end()) {
      const auto i = static_cast<std::size_t>(path - paths.begin());
      ++replies[fails ? fault.kind : "proper"][i];
      ++expectedEndings[!fails ? success : i == 0 ? fault.query : fault.report][i];
    } else if (isFor(request, ServicePaths::articles)) {
      ++(fails ? failedVotes : votes);
    } else {
      ++(fails ? failedFetches : fetches);
      // A fetch, which does no harm, is repeated if it gets no reply: so it gets another fault.
      if (fails) return faults[0].reply;
    }
    return fails ? fault.reply : LoopbackReply{properReply(request)};
  }

  const std::vector<Fault> faults = readFaults();
  std::atomic<bool> isWell = true;
  std::mutex mutex;  // guards the rest
  std::mt19937 random{seed};
  Counts replies;
  Counts expectedEndings;
  std::size_t votes = 0;
  std::size_t failedVotes = 0;
  std::size_t fetches = 0;
  std::size_t failedFetches = 0;
};

/// Those who start operations, and what they see of them.
struct Callers {
  void run(std::chrono::seconds time) {
    std::vector<std::thread> threads;
    {
      const std::shared_ptr<void> guard(nullptr, [](void*) { DispatchQueue::main().stop(); });
      for (unsigned i = 0; i < threadCount; ++i) {
        threads.emplace_back([this, until = steady_clock::now() + time, i, guard] {
          startOperations(until, std::mt19937(seed + i), guard);
        });
      }
    }
    DispatchQueue::main().run();
    for (auto& thread : threads) thread.join();
  }

  void startOperations(steady_clock::time_point until, std::mt19937 random,
                       const std::shared_ptr<void>& guard) {
    const auto free = std::make_shared<std::counting_semaphore<>>(atOnce);
    while (steady_clock::now() < until) {
      free->acquire();
      const auto i = std::uniform_int_distribution<std::size_t>(0, 2)(random);
      ++started[i];
      start(i, [this, i, free, guard](const Calls& calls) {
        const std::lock_guard lock(mutex);
        ++endings[textOf(calls)][i];
        free->release();
      });
    }
  }

  std::array<std::atomic<std::size_t>, 3> started{};
  std::mutex mutex;
  Counts endings;
};

long peakMebibytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

void writeTable(std::ostream& out, const char* title, const Counts& counts) {
  out << "\n| " << title << " | query | resolution | rejection |\n|---|---:|---:|---:|\n";
  for (const auto& [kind, each] : counts) {
    out << "| " << kind << " | " << each[0] << " | " << each[1] << " | " << each[2] << " |\n";
  }
}

TEST(LoadTest, EveryOperationEndsOnceAndAsTheServerMeant) {
  const char* const given = std::getenv("PELLIX_LOAD_SECONDS");
  const std::chrono::seconds time(given ? std::stoi(given) : 3);
  std::cout << "seed " << seed << ", " << time.count() << " s\n";

  std::atomic<std::size_t> loggedVotes = 0;
  std::atomic<std::size_t> loggedFetches = 0;
  QuorvelCoreSDK::CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::debug);
  QuorvelCoreSDK::CoreLogger::setSink([&](auto, std::string_view line) {
    if (line.starts_with("Could not upvote article")) ++loggedVotes;
    if (line.contains("could not be fetched")) ++loggedFetches;
  });
  FailingService service;
  const LoopbackServer server([&](const auto& request) { return service.answer(request); },
                              {.keepsRequests = false});
  const Application application(
      server.origin(),
      {.settingsTimeToLive = std::chrono::milliseconds(20),
       .network = {.requestTimeout = std::chrono::minutes(1), .maxResponseBytes = largest}});
  VeltraneProvidersSDK::QVLLumenoSettingsProvider::getLumenoSettings(nullptr);
  PellixProvidersSDK::PellixSettingsProvider::getSettings(nullptr);
  ASSERT_TRUE(application.becomesIdle());
  service.isWell = false;
  const auto before = peakMebibytes();
  Callers callers;
  callers.run(time);
  ASSERT_TRUE(application.becomesIdle());
  QuorvelCoreSDK::CoreLogger::setSink(nullptr);

  const std::scoped_lock lock(service.mutex, callers.mutex);
  EXPECT_EQ(callers.endings, service.expectedEndings);
  std::size_t total = 0;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    std::size_t arrived = 0;
    for (const auto& [kind, each] : service.replies) arrived += each[i];
    EXPECT_EQ(arrived, callers.started[i]) << paths[i];
    total += arrived;
  }
  EXPECT_EQ(service.replies.size(), service.faults.size() + 1) << "every fault, and proper replies";
  EXPECT_EQ(service.votes + service.failedVotes, callers.started[1]);
  EXPECT_EQ(service.failedVotes, loggedVotes);
  EXPECT_EQ(service.failedFetches, loggedFetches);

  const char* const file = std::getenv("PELLIX_LOAD_REPORT");
  if (!file) return;
  std::ofstream out(file);
  out << total << " operations in " << time.count() << " s, from " << threadCount
      << " threads with " << atOnce << " under way each; seed " << seed << ". Besides, "
      << service.votes << " votes and " << service.fetches << " fetches of settings went well, "
      << service.failedVotes << " and " << service.failedFetches << " failed. It took "
      << server.connections() << " connections. The process, server included, held " << before
      << " MiB at most before, and " << peakMebibytes() << " MiB after.\n";
  writeTable(out, "The server's reply", service.replies);
  writeTable(out, "The caller's ending", callers.endings);
}

}  // namespace
}  // namespace Faults
