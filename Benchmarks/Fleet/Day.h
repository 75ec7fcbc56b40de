#pragma once

#include "Fleet/Installation.h"
#include "Fleet/Service.h"
#include "Fleet/VirtualTime.h"

#include <array>
#include <functional>
#include <memory>

namespace Benchmarks::Fleet {

/// A day of a million installations, and of the service that they ask. It comes out alike each
/// time.
class Day {
 public:
  /// Installations that are used alike. Some of them are simulated, each for several.
  struct Kind {
    const char* name;
    double installations;
    int simulated;
    void (Day::*live)(Kind& kind);  // for one of them
    Load load = {};
    std::shared_ptr<QuorvelCoreSDK::Transport> transport = {};
  };

  /// With `givesTags`, documents can be confirmed.
  explicit Day(bool givesTags);
  Day(const Day&) = delete;
  Day& operator=(const Day&) = delete;

  [[nodiscard]] const auto& kinds() const { return kinds_; }

 private:
  using Host = std::shared_ptr<Installation>;

  [[nodiscard]] Host start(const Kind& kind);
  void livePhone(Kind& kind);
  void liveDesk(Kind& kind);
  void liveServer(Kind& kind);
  void liveDisplay(Kind& kind);

  void repeat(double timesADay, const std::function<void()>& task);
  void tick(Kind& kind, const Host& host);
  void converse(Kind& kind, const Host& host);
  void ask(Kind& kind, const Host& host, int attempts, const std::function<void()>& next = [] {});

  VirtualTime time_;
  Service service_;
  Chance chance_{1}, chanceOfLibrary_{2};
  std::array<Kind, 4> kinds_{
      Kind{"phones", 950'000, 100'000, &Day::livePhone},
      Kind{"desks", 49'000, 4'900, &Day::liveDesk},
      Kind{"servers", 500, 250, &Day::liveServer},
      Kind{"displays", 500, 100, &Day::liveDisplay},
  };
};

}  // namespace Benchmarks::Fleet
