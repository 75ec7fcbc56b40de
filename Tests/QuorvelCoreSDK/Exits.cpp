#include "Support/LoopbackServer.h"

#include <QuorvelCoreSDK/QuorvelCoreSDK.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <future>
#include <string_view>
#include <thread>

/// A process that has made requests ends, in the way and the state that the arguments name. It
/// talks to its parent process, so that what ends with it is the library and not the server.
namespace {

using QuorvelCoreSDK::ClientHeaders;
using QuorvelCoreSDK::ProviderService;
using QuorvelCoreSDK::Quorvel;
using Support::LoopbackReply;

constexpr int good = 7;  // no runtime ends a process like that by itself

class Headers final : public ClientHeaders {
  [[nodiscard]] std::string client() const override { return "Exits"; }
  [[nodiscard]] std::string version() const override { return "1"; }
  [[nodiscard]] std::map<std::string, std::string> aditionalHeaders() const override { return {}; }
};

[[noreturn]] void waitForTheEnd() {
  while (true) pause();
}

void send(const Quorvel& quorvel, const std::string& path, ProviderService::Callback callback) {
  const auto& account = quorvel.accountDetails();
  ProviderService({.environment = account,
                   .urlComponent = Platform::URL::parse(account.accountUrl() + path).value(),
                   .clientHeaders = std::make_shared<const Headers>()})
      .perform(std::move(callback));
}

/// `arrived` has a byte to be read once the request that stalls is under way.
int end(std::string_view way, bool isBusy, const std::string& address,
        const std::string& certificates, int arrived) {
  const auto quorvel = Quorvel::initialize({address, "application", "client"},
                                           {.network = {.certificateAuthorities = certificates}})
                           .value();
  const auto first = std::make_shared<std::promise<bool>>();
  send(*quorvel, "/", [first](auto, auto, const auto& error) { first->set_value(!error); });
  if (!first->get_future().get()) return 1;
  if (isBusy) {
    send(*quorvel, "/stall", [](auto, auto, const auto&) { std::_Exit(2); });
    char byte = 0;
    if (read(arrived, &byte, 1) != 1) return 3;
  }

  if (way == "exit") std::exit(good);
  if (way == "thread") {
    std::thread([] { std::exit(good); }).detach();
    waitForTheEnd();
  }
  if (way == "worker") {
    quorvel->post([] { std::exit(good); });
    waitForTheEnd();
  }
  if (way == "fork") {
    const auto child = fork();
    if (child == 0) std::exit(good);
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != W_EXITCODE(good, 0)) return 4;
    send(*quorvel, "/", [](auto, auto, const auto& error) { std::exit(error ? 5 : good); });
    waitForTheEnd();
  }
  return way == "return" ? good : 6;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const bool isBusy = std::string_view(arguments[2]) == "busy";
  int addresses[2];
  int arrivals[2];
  if (pipe(addresses) != 0 || pipe(arrivals) != 0) return 2;
  const std::string certificates = "exits-" + std::to_string(getpid()) + ".pem";

  const auto child = fork();
  if (child == 0) {
    char address[100] = "";
    if (read(addresses[0], address, sizeof address - 1) <= 0) return 2;
    return end(arguments[1], isBusy, address, certificates, arrivals[0]);
  }
  const auto identity = Support::makeIdentity({});
  std::ofstream(certificates) << identity.certificate;
  const Support::LoopbackServer server(
      [&](const auto& request) {
        if (request.head.starts_with("GET / ")) return LoopbackReply{Support::httpReply("200 OK")};
        return LoopbackReply{write(arrivals[1], "!", 1) == 1 ? "" : "?",
                             LoopbackReply::Then::stall};
      },
      {.identity = identity});
  const auto address = server.origin();
  int status = 0;
  const bool isDone = write(addresses[1], address.data(), address.size()) > 0 &&
                      waitpid(child, &status, 0) == child;
  unlink(certificates.c_str());
  return isDone && status == W_EXITCODE(good, 0) ? 0 : 1;
}
