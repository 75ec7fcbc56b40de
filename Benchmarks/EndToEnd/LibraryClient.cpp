#include "EndToEnd/Clients.h"
#include "Support/Host.h"
#include "Support/Rounds.h"

namespace Benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

class LibraryClient final : public Client {
 public:
  explicit LibraryClient(const Server& server)
      : provider_(makeProvider(server.address,
                               {.network = {.certificateAuthorities = server.certificate}})) {}

  std::vector<double> ask(std::size_t count, std::size_t inFlight) override {
    unasked_ = count;
    unanswered_ = count;
    microseconds_.clear();
    for (std::size_t i = 0; i < inFlight && unasked_ > 0; ++i) askOne();
    PellixPlatform::DispatchQueue::main().run();
    return std::move(microseconds_);
  }

 private:
  void askOne() {
    --unasked_;
    provider_->getDeflectionForQuery(question, [this, begin = Clock::now()](const Reply& reply) {
      keep(reply.value());
      microseconds_.push_back(
          std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
      if (unasked_ > 0) askOne();
      if (--unanswered_ == 0) PellixPlatform::DispatchQueue::main().stop();
    });
  }

  const std::shared_ptr<PellixProvidersSDK::PellixProvider> provider_;
  std::size_t unasked_ = 0;
  std::size_t unanswered_ = 0;
  std::vector<double> microseconds_;
};

}  // namespace

std::unique_ptr<Client> makeLibraryClient(const Server& server) {
  return std::make_unique<LibraryClient>(server);
}

}  // namespace Benchmarks
