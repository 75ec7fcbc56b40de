#include "EndToEnd/AsynchronousClient.h"
#include "Support/Host.h"
#include "Support/Rounds.h"

namespace Benchmarks {
namespace {

class LibraryClient final : public AsynchronousClient {
 public:
  explicit LibraryClient(const Server& server)
      : provider_(makeProvider(server.address,
                               {.network = {.certificateAuthorities = server.certificate}})) {}

 private:
  void askOne(Time begin) override {
    provider_->getDeflectionForQuery(question, [this, begin](const Reply& reply) {
      keep(reply.value());
      answered(begin);
    });
  }
  void run() override { PellixPlatform::DispatchQueue::main().run(); }
  void stop() override { PellixPlatform::DispatchQueue::main().stop(); }

  const std::shared_ptr<PellixProvidersSDK::PellixProvider> provider_;
};

}  // namespace

std::unique_ptr<Client> makeLibraryClient(const Server& server) {
  return std::make_unique<LibraryClient>(server);
}

}  // namespace Benchmarks
