#include <QuorvelCoreSDK/ClientHeaders.h>

#include <utility>

namespace QuorvelCoreSDK {
namespace {

class PlainHeaders final : public ClientHeaders {
 public:
  PlainHeaders(std::string client, std::string version,
               std::map<std::string, std::string> aditionalHeaders)
      : client_(std::move(client)),
        version_(std::move(version)),
        aditionalHeaders_(std::move(aditionalHeaders)) {}

  [[nodiscard]] std::string client() const override { return client_; }
  [[nodiscard]] std::string version() const override { return version_; }
  [[nodiscard]] std::map<std::string, std::string> aditionalHeaders() const override {
    return aditionalHeaders_;
  }

 private:
  const std::string client_;
  const std::string version_;
  const std::map<std::string, std::string> aditionalHeaders_;
};

}  // namespace

ClientHeaders::~ClientHeaders() = default;

std::shared_ptr<const ClientHeaders> makeClientHeaders(
    std::string client, std::string version, std::map<std::string, std::string> aditionalHeaders) {
  return std::make_shared<const PlainHeaders>(std::move(client), std::move(version),
                                              std::move(aditionalHeaders));
}

}  // namespace QuorvelCoreSDK
