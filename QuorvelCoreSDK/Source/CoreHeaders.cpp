#include "CoreHeaders.h"

namespace QuorvelCoreSDK {
namespace {

class CoreHeaders final : public ClientHeaders {
 public:
  [[nodiscard]] std::string client() const override { return "QuorvelCore"; }
  [[nodiscard]] std::string version() const override { return QUORVEL_CORE_VERSION; }
  [[nodiscard]] std::map<std::string, std::string> aditionalHeaders() const override { return {}; }
};

}  // namespace

std::shared_ptr<const ClientHeaders> coreHeaders() {
  return std::make_shared<CoreHeaders>();
}

}  // namespace QuorvelCoreSDK
