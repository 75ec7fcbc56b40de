#include "PellixProvidersSDK/Host.h"
#include "Support/LoopbackServer.h"
#include "Support/Process.h"

#include <curl/curl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <thread>

/// Processes that end while hundreds of questions are under way, answers arrive, and threads go on
/// asking: this program's own, or those of a command. Each way is tried as often as PELLIX_EXITS
/// says. The service is in another process, so that what ends is the library.
namespace {

using namespace PellixTests;
using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::CoreLogger;
using Support::LoopbackReply;

constexpr int good = 7;  // no runtime ends a process like that by itself
[[maybe_unused]] constexpr int skipped = 77;
constexpr std::chrono::milliseconds ample = std::chrono::minutes(1);

std::atomic<int> begun = 0;
std::atomic<int> released = 0;
std::atomic<bool> isOver = false;  // no callback may be called any more
std::atomic<bool> isWorkerInHost = false;
std::atomic<bool> hasWorkerLeft = false;
std::atomic<pid_t> stuckWorker = 0;
std::atomic<bool> isGivenUp = false;

void ask(PellixProvider& provider) {
  ++begun;
  const auto release = [](void*) {
    ++released;
    released.notify_all();
  };
  provider.getDeflectionForQuery("How?",
                                 [end = std::shared_ptr<void>(nullptr, release)](const auto&) {
                                   if (isOver) std::abort();
                                 });
}

void waitFor(std::atomic<int>& counter, int least) {
  for (int seen = counter; seen < least; seen = counter) counter.wait(seen);
}

/// Keeps a thousand questions under way for as long as the process lives, and returns at some time.
void beginStorm(const std::shared_ptr<PellixProvider>& provider) {
  std::thread([] { DispatchQueue::main().run(); }).detach();
  for (int i = 0; i < 1000; ++i) ask(*provider);
  for (int i = 0; i < 3; ++i) {
    std::thread([provider] {
      while (true) {
        ask(*provider);
        if (begun - released > 1000) waitFor(released, released + 1);
      }
    }).detach();
  }
  waitFor(released, getpid() % 1000);
}

/// Whether operations are still begun: one that is not lets go of its callback at once.
bool isAccepting(PellixProvider& provider) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> callback = held;
  provider.getDeflectionForQuery("How?", [held = std::move(held)](const auto&) {});
  return !callback.expired();
}

bool isAsleep(pid_t thread) {
  std::string state;
  std::getline(std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat"), state);
  return state.contains(") S ");
}

[[noreturn]] void waitForTheEnd() {
  while (true) pause();
}

/// Whether operations of this child end at once, with one line in the log.
bool isSilent(PellixProvider& provider, const Quorvel& quorvel) {
  int lines = 0;
  const auto transport = QuorvelCoreSDK::makeTransport().value();
  const auto post = [&] { transport->post([] { std::abort(); }); };
  CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::warn);
  CoreLogger::setSink([&](auto, auto) {
    ++lines;
    post();
  });
  post();
  Outcome outcome;
  quorvel.post([] {});
  for (int i = 0; i < 3; ++i) query.start(provider, outcome);
  return outcome.ending() == "silence" && lines == 1;
}

/// What a host may do at its end; the result is its exit code.
int end(std::string_view way, const std::shared_ptr<PellixProvider>& provider,
        const QuorvelCoreSDK::Configuration& configuration) {
  if (way == "cleanup") {  // of a host that ends what it never began
    std::thread([] { DispatchQueue::main().run(); }).detach();
    ask(*provider);
    waitFor(released, 1);
    curl_global_cleanup();
    curl_global_cleanup();
    return good;
  }
  if (way == "waits") {  // for the worker to come back from the host's code
    Quorvel::instance()->post([provider] {
      isWorkerInHost = true;
      isWorkerInHost.notify_all();
      while (isAccepting(*provider)) std::this_thread::yield();
      while (!isAsleep(getpid())) std::this_thread::yield();
      hasWorkerLeft = true;
      isWorkerInHost = false;
    });
    isWorkerInHost.wait(false);
    return good;
  }
  if (way == "alone") {  // the worker, which waits for nobody then
    Quorvel::instance()->post([provider] {
      std::thread([provider, worker = gettid()] {
        while (isAccepting(*provider)) std::this_thread::yield();
        while (!isGivenUp) {
          if (isAsleep(worker) && !isGivenUp) std::_Exit(3);
        }
      }).detach();
      std::exit(good);
    });
    waitForTheEnd();
  }
  beginStorm(provider);
  if (way == "exit") std::exit(good);
  if (way == "quick_exit") std::quick_exit(good);
  if (way == "thread") std::thread([] { std::exit(good); }).detach();
  if (way == "queue") DispatchQueue::main().post([] { std::exit(good); });
  if (way == "worker") Quorvel::instance()->post([] { std::exit(good); });
  if (way == "signal") std::raise(SIGTERM);
  if (way == "throw") Quorvel::instance()->post([] { throw good; });
  if (way == "stuck") {  // the worker comes back from the host's code when it is too late
    Quorvel::instance()->post([] {
      Quorvel::instance()->post([] {
        stuckWorker = gettid();
        std::thread([] { std::exit(good); }).detach();
        while (!isGivenUp) std::this_thread::yield();
      });
      Quorvel::instance()->post([] { std::_Exit(3); });
    });
  }
  for (const auto* elsewhere : {"thread", "queue", "worker", "stuck", "throw"}) {
    if (way == elsewhere) waitForTheEnd();
  }
  if (way == "fork") {
    const auto quorvel = Quorvel::instance();
    const auto child = fork();
    if (child == 0) {
      const int before = released;
      const bool isFine = isSilent(*provider, *quorvel) && !Quorvel::shutDown(ample);
      std::exit(isFine && released == before ? good : 3);  // what waits is the parent's
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != good << 8) return 4;
    waitFor(released, released + 1000);
  }
  if (way == "resets") waitFor(released, released + 1000);
  if (way == "shutDown") {
    if (!Quorvel::shutDown(ample)) return 5;
    isOver = true;
    if (!Quorvel::shutDown(ample)) return 6;
    isOver = false;
    setUp(configuration, Quorvel::instance()->accountDetails().accountUrl());
  }
  return good;
}

int runHost(std::string_view way, const std::string& address, const std::string& certificates) {
  std::signal(SIGPIPE, SIG_DFL);
  CoreLogger::setLevel(QuorvelCoreSDK::LogLevel::error);
  const QuorvelCoreSDK::Configuration configuration{
      .settingsTimeToLive = std::chrono::milliseconds(0),
      .network = {.certificateAuthorities = certificates}};
  std::atexit([] {  // after what the library does at the end, for it comes earlier
    if (isWorkerInHost) std::_Exit(3);
    if (hasWorkerLeft && !Quorvel::shutDown(ample)) std::_Exit(4);
    isGivenUp = true;
    while (stuckWorker != 0 && !isAsleep(stuckWorker)) std::this_thread::yield();
  });
  return end(way, setUp(configuration, address), configuration);
}

/// Foreign hosts have the feature disabled: they are called on the worker then.
LoopbackReply answer(const Support::LoopbackRequest& request, bool isForeign, bool resets) {
  if (request.body.empty()) {
    const std::string isEnabled = isForeign ? "false" : "true";
    const auto settings = R"({"pellix":{"enabled":)" + isEnabled + R"(},"locale":"de"})";
    return {Support::httpReply("200 OK", settings)};
  }
  // At times the next question is written before the reset is noticed.
  return {Support::httpReply("200 OK", responseJSON()),
          resets ? LoopbackReply::Then::reset : LoopbackReply::Then::keep};
}

/// The hosts' service, and the hosts, one after the other.
int runHosts(std::vector<std::string> command) {
  const auto identity = Support::makeIdentity({});
  const auto certificates = "exits-" + std::to_string(getpid()) + ".pem";
  std::ofstream(certificates) << identity.certificate;
  const auto name = command.back();
  const bool isForeign = command.size() > 2 && name != "unload";
  const Support::LoopbackServer server(
      [&](const auto& request) { return answer(request, isForeign, name == "resets"); },
      {.identity = identity, .keepsRequests = false});
  const auto isExpected = [&name](const Support::Outcome& outcome) {
    const int code = outcome.exitCode;
    if (name == "throw") return code == -SIGABRT;
    if (name == "throws") return code == 1 && outcome.errors.contains("IllegalStateException: end");
    if (name == "fall") return code == 0 && outcome.errors.empty();
    const bool isEnded =
        name == "signal" ? code == -SIGTERM || code == 128 + SIGTERM : code == good;
    return isEnded && outcome.errors.empty();
  };
  command.push_back(server.origin());
  command.push_back(certificates);

  std::map<std::string, std::string> environment;
  for (const char* variable : {"ASAN_OPTIONS", "TSAN_OPTIONS", "PELLIX_LIBRARY"}) {
    if (const char* value = std::getenv(variable)) environment[variable] = value;
  }
  const char* const wanted = std::getenv("PELLIX_EXITS");
  const int times = wanted ? std::atoi(wanted) : isForeign ? 5 : 3;
  int failures = times > 0 ? 0 : 1;
  for (int i = 0; i < times; ++i) {
    const auto outcome = Support::runProcess(command, environment);
    if (isExpected(outcome)) continue;
    ++failures;
    std::printf("%s: %d\n%s%s\n", name.c_str(), outcome.exitCode, outcome.output.c_str(),
                outcome.errors.c_str());
  }
  unlink(certificates.c_str());
  std::printf("%d of %d failed\n", failures, times);
  return failures == 0 ? 0 : 1;
}

}  // namespace

/// Exits WAY, or Exits run COMMAND... WAY. What is run gets the service's address and the file of
/// its certificate as further arguments.
int main(int count, char** arguments) {
#if defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
  // Its allocator does not look after forks: a child may find it locked by a thread that it lacks.
  if (arguments[1] == std::string_view("fork")) return skipped;
#endif
  if (count == 2) return runHosts({"/proc/self/exe", arguments[1]});
  if (std::string_view(arguments[1]) == "run") return runHosts({arguments + 2, arguments + count});
  return runHost(arguments[1], arguments[2], arguments[3]);
}
