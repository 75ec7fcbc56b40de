#include "Lifecycle/Application.h"
#include "Support/LoopbackServer.h"
#include "Support/Process.h"

#include <curl/curl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string_view>
#include <thread>

/// A process that has asked questions ends, in the way and the state that the arguments name, as
/// often as PELLIX_EXITS says. The service is in another process, so that what ends is the library.
namespace {

using namespace LifecycleTests;
using PellixPlatform::DispatchQueue;
using QuorvelCoreSDK::ProviderService;
using Support::LoopbackReply;

constexpr int good = 7;  // no runtime ends a process like that by itself

class Headers final : public QuorvelCoreSDK::ClientHeaders {
  [[nodiscard]] std::string client() const override { return "Exits"; }
  [[nodiscard]] std::string version() const override { return "1"; }
  [[nodiscard]] std::map<std::string, std::string> aditionalHeaders() const override { return {}; }
};

[[noreturn]] void waitForTheEnd() {
  while (true) pause();
}

/// Whether a question of that text is answered.
bool isAnswered(PellixProvider& provider) {
  bool isRecord = false;
  provider.getDeflectionForQuery("answer", [&](const auto& result) {
    isRecord = result.has_value();
    DispatchQueue::main().stop();
  });
  DispatchQueue::main().run();
  return isRecord;
}

/// Asks what is never answered, and returns once the service has the questions.
bool beginQuestions(PellixProvider& provider) {
  for (int i = 0; i < 3; ++i) {
    provider.getDeflectionForQuery("stall", [](const auto&) { std::_Exit(2); });
  }
  std::promise<bool> arrived;
  const auto& account = Quorvel::instance()->accountDetails();
  ProviderService(
      {.environment = account,
       .urlComponent = PellixPlatform::URL::parse(account.accountUrl() + "/arrived").value(),
       .clientHeaders = std::make_shared<const Headers>()})
      .perform([&](auto, auto, const auto& error) { arrived.set_value(!error); });
  return arrived.get_future().get();
}

int exitCodeOf(pid_t child) {
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// What a host may do at its end; the result is its exit code.
int end(std::string_view way, PellixProvider& provider) {
  if (way == "return") return good;
  if (way == "exit") std::exit(good);
  if (way == "thread") {
    std::thread([] { std::exit(good); }).detach();
    waitForTheEnd();
  }
  if (way == "worker") {
    Quorvel::instance()->post([] { std::exit(good); });
    waitForTheEnd();
  }
  if (way == "callback") {
    provider.getDeflectionForQuery("answer", [](const auto&) { std::exit(good); });
    DispatchQueue::main().run();
  }
  if (way == "cleanup") {  // of a host that ends what it never began
    curl_global_cleanup();
    curl_global_cleanup();
    return good;
  }
  if (way == "fork" || way == "exec") {
    const auto child = fork();
    if (child == 0 && way == "exec") {
      execl("/bin/sh", "sh", "-c", "exit 7", static_cast<char*>(nullptr));
    }
    if (child == 0) std::exit(good);
    return exitCodeOf(child) == good && isAnswered(provider) ? good : 4;
  }
  return 6;
}

int runHost(std::string_view way, bool isBusy, const std::string& address,
            const std::string& certificates) {
  const auto provider = setUp(address, {.network = {.certificateAuthorities = certificates}});
  if (!isAnswered(*provider)) return 1;
  if (isBusy && !beginQuestions(*provider)) return 3;
  return end(way, *provider);
}

/// The hosts' service, and the hosts, one after the other.
int runHosts(const std::string& program, const std::string& way, const std::string& state) {
  const std::string certificates = "exits-" + std::to_string(getpid()) + ".pem";
  const auto identity = Support::makeIdentity({});
  std::ofstream(certificates) << identity.certificate;
  const char* const wanted = std::getenv("PELLIX_EXITS");
  const int times = wanted ? std::atoi(wanted) : 3;
  std::map<std::string, std::string> environment;
  for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* value = std::getenv(name)) environment[name] = value;
  }
  int failures = times > 0 ? 0 : 1;
  for (int i = 0; i < times; ++i) {
    std::promise<void> allArrived;
    std::atomic<int> arrived = 0;
    const auto future = allArrived.get_future().share();
    const Support::LoopbackServer server(
        [&, future](const auto& request) -> LoopbackReply {
          if (request.body.find("stall") != std::string::npos) {
            if (++arrived == 3) allArrived.set_value();
            return {"", LoopbackReply::Then::stall};
          }
          if (request.head.starts_with("GET /arrived ")) future.wait();
          return {Support::httpReply("200 OK",
                                     request.body.empty() ? settings : PellixTests::responseJSON()),
                  LoopbackReply::Then::keep};
        },
        {.identity = identity});
    const auto outcome =
        Support::runProcess({program, way, state, server.origin(), certificates}, environment);
    if (outcome.exitCode == good) continue;
    ++failures;
    std::printf("%s, %s: %d\n%s%s\n", way.c_str(), state.c_str(), outcome.exitCode,
                outcome.output.c_str(), outcome.errors.c_str());
  }
  unlink(certificates.c_str());
  std::printf("%d of %d failed\n", failures, times);
  return failures == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 3) return runHosts("/proc/self/exe", arguments[1], arguments[2]);
  if (count != 5) return 2;
  return runHost(arguments[1], std::string_view(arguments[2]) == "busy", arguments[3],
                 arguments[4]);
}
