#include "Decode/Rivals.h"
#include "EndToEnd/Easy.h"
#include "Support/Rounds.h"

namespace Benchmarks {
namespace {

class EasyClient final : public Client {
 public:
  explicit EasyClient(const Server& server) : easy_(server) {}

  std::vector<double> ask(std::size_t count, std::size_t) override {
    std::vector<double> microseconds(count);
    for (auto& time : microseconds) {
      const auto begin = Clock::now();
      const auto body = makeQuestionBody();
      easy_.start(body);
      static_cast<void>(easy_.finish(curl_easy_perform(easy_.handle())));
      keep(decodeWithNlohmann(easy_.received()).value());
      time = std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
    }
    return microseconds;
  }

 private:
  Easy easy_;
};

}  // namespace

std::unique_ptr<Client> makeEasyClient(const Server& server) {
  return std::make_unique<EasyClient>(server);
}

}  // namespace Benchmarks
