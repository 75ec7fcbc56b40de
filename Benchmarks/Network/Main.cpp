// How many round trips a person waits for: NetworkBenchmark NAME PORT CERTIFICATE MILLISECONDS asks
// the server at that port of loopback, by https, as if it were a round trip of so many milliseconds
// away. The figures bear the name.

#include "Network/Relay.h"
#include "Support/Host.h"
#include "Support/Rounds.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace Benchmarks {
namespace {

using Clock = std::chrono::steady_clock;
using PellixPlatform::DispatchQueue;

constexpr double bytesPerSecond = 100e6 / 8;

/// An application and its service, with the network between them.
class DistantHost {
 public:
  DistantHost(std::uint16_t serverPort, std::chrono::milliseconds roundTrip,
              const std::string& certificate)
      : roundTrip_(roundTrip),
        relay_(serverPort, {.roundTrip = roundTrip, .bytesPerSecond = bytesPerSecond}),
        provider_(makeProvider("https://127.0.0.1:" + std::to_string(relay_.port()),
                               {.network = {.certificateAuthorities = certificate}})) {}

  /// How many round trips it takes until as many questions, asked at once, are answered.
  [[nodiscard]] double ask(int questions) const {
    int unanswered = questions;
    const auto begin = Clock::now();
    for (int i = 0; i < questions; ++i) {
      provider_->getDeflectionForQuery(question, [&unanswered](const Reply& reply) {
        if (!reply) {
          std::fprintf(stderr, "%s\n", reply.error().description().c_str());
          std::exit(1);
        }
        if (--unanswered == 0) DispatchQueue::main().stop();
      });
    }
    DispatchQueue::main().run();
    return (Clock::now() - begin) / std::chrono::duration<double, Clock::period>(roundTrip_);
  }

  void prepare() const {
    const auto quorvel = QuorvelCoreSDK::Quorvel::instance();
    quorvel->prepare();
    quorvel->waitUntilIdle(std::chrono::seconds(10));
  }

  [[nodiscard]] const Relay& relay() const { return relay_; }

 private:
  const std::chrono::nanoseconds roundTrip_;
  const Relay relay_;
  const std::shared_ptr<PellixProvidersSDK::PellixProvider> provider_;
};

void measure(const std::string& name, std::uint16_t serverPort, const std::string& certificate,
             std::chrono::milliseconds roundTrip) {
  const auto reportOf = [&](const char* what, double roundTrips) {
    report(name + "." + what + ".round_trips", roundTrips);
  };
  {
    const DistantHost host(serverPort, roundTrip, certificate);
    reportOf("cold", host.ask(1));
    reportOf("next", host.ask(1));
    reportOf("sixteen", host.ask(16));
    host.relay().waitUntilClosed();
    reportOf("after_idle_close", host.ask(1));
  }
  const DistantHost host(serverPort, roundTrip, certificate);
  host.prepare();
  reportOf("prepared", host.ask(1));
}

}  // namespace
}  // namespace Benchmarks

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  Benchmarks::measure(argv[1], static_cast<std::uint16_t>(std::atoi(argv[2])), argv[3],
                      std::chrono::milliseconds(std::atoi(argv[4])));
}
