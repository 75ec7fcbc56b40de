#pragma once

#include "Models/RequestBodies.h"
#include "Support/Host.h"
#include "Support/Replies.h"
#include "Support/Rounds.h"

#include <Platform/JSONDecoder.h>
#include <Platform/JSONEncoder.h>

namespace Benchmarks {

/// A query without a network, and what it encodes and decodes on the way.
class Steps {
 public:
  void query() const {
    host_.ask([](const Reply& reply) { keep(reply.value()); });
  }

  void encodeAndDecode() const {
    const PellixProvidersSDK::InteractionRequestBody body("A81BC81B-DEAD-4E5D-ABFF-90865D1E13B1",
                                                          question, "en-us", {}, std::nullopt);
    keep(Platform::JSONEncoder().encode(body));
    keep(Platform::JSONDecoder().decode<PellixProvidersSDK::DeflectionResponse>(reply_));
  }

 private:
  const std::string reply_ = makeReply({.bodyBytes = 1});
  const OfflineHost host_{reply_};
};

}  // namespace Benchmarks
