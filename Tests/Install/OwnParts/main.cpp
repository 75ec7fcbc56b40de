// Asks a question over a transport that never leaves the process, and prints the version that the
// request names, which the library reads from its resources, and the library's log.
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <cstdio>
#include <deque>

namespace {

using Platform::DispatchQueue;
using namespace QuorvelCoreSDK;

/// Answers on the main queue: settings that enable the feature, and a refusal of everything else.
class MemoryTransport final : public Transport {
 public:
  void send(TransportRequest request, Completion completion) override {
    const bool settings = request.method == HttpMethod::get;
    if (!settings) {
      for (const auto& [name, value] : request.headers) {
        if (name == "X-Quorvel-Client-Version") std::printf("version %s\n", value.c_str());
      }
    }
    const std::string body = R"({"pellix":{"enabled":true},"locale":"en-us"})";
    TransportReply reply;
    if (settings) reply.data = Platform::Data(body.begin(), body.end());
    reply.response = std::make_shared<const Platform::HTTPURLResponse>(
        request.url, settings ? 200 : 503, std::vector<std::pair<std::string, std::string>>{});
    post([completion = std::move(completion), reply] { completion(reply); });
  }
  void post(std::function<void()> task) override { DispatchQueue::main().post(std::move(task)); }
};

}  // namespace

int main() {
  CoreLogger::setLevel(LogLevel::debug);
  CoreLogger::setSink([](LogLevel level, std::string_view line) {
    std::printf("log %s: %.*s\n", std::string(nameOf(level)).c_str(), static_cast<int>(line.size()),
                line.data());
  });
  Configuration configuration;
  configuration.transport = std::make_shared<MemoryTransport>();
  configuration.token = [] { return "token"; };
  const auto quorvel = Quorvel::initialize({"https://unreachable.invalid", "app", "client"},
                                           configuration);
  if (!quorvel) return 1;
  using namespace PellixProvidersSDK;
  Pellix::initialize(*quorvel, VeltraneProvidersSDK::Veltrane::initialize(*quorvel));
  Pellix::instance()->provider()->getDeflectionForQuery(
      "Anyone there?", [](Result<DeflectionResponse> result) {
        if (!result) std::printf("error %s\n", result.error().description().c_str());
        DispatchQueue::main().stop();
      });
  DispatchQueue::main().run();
}
