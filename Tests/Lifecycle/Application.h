#pragma once

#include "PellixProvidersSDK/Samples.h"

#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <QuorvelCoreSDKTesting/ScriptedTransport.h>

#include <memory>
#include <utility>

namespace LifecycleTests {

using PellixProvidersSDK::Pellix;
using PellixProvidersSDK::PellixProvider;
using QuorvelCoreSDK::Quorvel;
using VeltraneProvidersSDK::Veltrane;

/// Settings of the account, and of the knowledge base.
inline constexpr char settings[] = R"({"pellix":{"enabled":true},"locale":"de"})";

/// Sets the library up in place of what was there, with `configuration` but for its token.
inline std::shared_ptr<PellixProvider> setUp(const std::string& address,
                                             QuorvelCoreSDK::Configuration configuration) {
  static int turn = 0;
  configuration.token = [] { return "secret"; };
  auto quorvel =
      Quorvel::initialize({address, turn % 2 ? "a" : "b", "client"}, std::move(configuration))
          .value();
  auto veltrane = Veltrane::initialize(quorvel);
  Pellix::initialize(std::move(quorvel), std::move(veltrane));
  ++turn;
  return Pellix::instance()->provider();
}

/// A service that answers at once.
inline auto serviceWith(const char* accountSettings, int status = 200,
                        const std::string& reply = PellixTests::responseJSON()) {
  auto transport = std::make_shared<QuorvelCoreSDK::Testing::ScriptedTransport>();
  transport->answer("/knowledge/v1/settings", 200, R"({"locale":"de"})");
  transport->answer("/account/settings", 200, accountSettings);
  for (const auto* path : {"/resolutions", "/rejections", "/interactions"}) {
    if (status != 0) transport->answer(path, status, reply);
  }
  return transport;
}

/// What became of an operation. Watching the end takes no memory.
class Ending {
 public:
  int calls = 0;
  int records = 0;  // of the calls, those with a record and not an error
  int releases = 0;

  /// A callback for any operation.
  [[nodiscard]] auto callback(std::function<void()> onRelease = nullptr) {
    const auto release = [this, onRelease = std::move(onRelease)](void*) {
      ++releases;
      if (onRelease) onRelease();
    };
    return [this, held = std::shared_ptr<void>(nullptr, release)](const auto& result) {
      ++calls;
      records += result.has_value();
    };
  }
};

}  // namespace LifecycleTests
