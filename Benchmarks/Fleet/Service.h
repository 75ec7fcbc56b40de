#pragma once

#include "Fleet/VirtualTime.h"

#include <QuorvelCoreSDK/Transport.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Benchmarks::Fleet {

using namespace std::chrono_literals;

inline constexpr Time day = 24h;
inline constexpr Time outageBegins = 12h;
inline constexpr Time outageEnds = 12h + 10min;
/// When the account's settings change: on a quiet morning, and in the outage.
inline constexpr std::array<Time, 2> changes{9h, 12h + 5min};

/// What some installations ask of the service, as it sees it.
struct Load {
  struct Bin {
    double settings = 0;   // requests for either document, the failed ones too
    double confirmed = 0;  // those of them that were answered 304
    double questions = 0;
    double bytes = 0;  // of all requests and replies, head and body, as HTTP/1.1 writes them
    double settingsBytes = 0;

    [[nodiscard]] double requests() const { return settings + questions; }
  };
  static constexpr Time binWidth = 10s;

  std::vector<Bin> bins = std::vector<Bin>(day / binWidth);
  /// For how long after each change somebody was still answered by what there was before.
  std::array<Time, changes.size()> untilSeen{};

  void sawVersion(std::int64_t version, Time now);
  Load& operator+=(const Load& other);
};

/// The account's service in virtual time: its settings, those of its knowledge base, and questions.
/// It is down for a while, and then a proxy before it answers 503.
class Service {
 public:
  /// Replies with settings bear an `ETag`, or they do not.
  Service(VirtualTime& time, bool givesTags);

  /// Where requests come in; `load` counts each for so many. It and this outlive the result.
  [[nodiscard]] std::shared_ptr<QuorvelCoreSDK::Transport> entrance(Load& load, double each);

 private:
  class Entrance;
  struct Reply {
    std::string body;
    std::shared_ptr<const PellixPlatform::HTTPURLResponse> response;
  };
  struct Document {
    std::string tag;  // empty: none
    Reply whole, unchanged;
  };

  [[nodiscard]] static Reply makeReply(int status, const std::string& tag, std::string body);
  [[nodiscard]] static Document makeDocument(std::string tag, std::string body);
  [[nodiscard]] const Reply& replyTo(const QuorvelCoreSDK::TransportRequest& request) const;

  VirtualTime& time_;
  std::vector<Document> settings_;  // by their versions
  Document knowledgeSettings_, articles_;
  const Reply unavailable_ = makeReply(503, {}, {});
};

}  // namespace Benchmarks::Fleet
