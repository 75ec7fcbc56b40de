#pragma once

#include "Faults/Application.h"
#include "PackagedServer.h"

#include <map>

namespace Servers {

/// A server, an application that asks it, and what became of the questions. Each question is one
/// byte longer than the one before: by its length it is known in the server's log.
class Conversation {
 public:
  explicit Conversation(const ServerOptions& options,
                        std::chrono::milliseconds requestTimeout = std::chrono::seconds(30))
      : server(options),
        application_(server.origin(), {.network = {.certificateAuthorities = server.certificate(),
                                                   .requestTimeout = requestTimeout}}) {
    askOnce();
  }

  void askOnce() {
    askWhile([last = asked + 1, this] { return asked < last; });
  }

  /// Keeps some questions under way while `goesOn` says so.
  void askWhile(const std::function<bool()>& goesOn, std::size_t atOnce = 1) {
    goesOn_ = goesOn;
    for (underWay_ = atOnce; atOnce > 0; --atOnce) askNext();
    Faults::DispatchQueue::main().run();
  }

  /// How often the server received each question.
  [[nodiscard]] std::map<std::size_t, std::size_t> received() {
    EXPECT_TRUE(application_.becomesIdle());
    server.stop();
    std::map<std::size_t, std::size_t> counts;
    const auto lengths = server.bodiesReceivedAt(std::string(Faults::paths[0]));
    for (const auto length : lengths) ++counts[length - *lengths.begin() + 1];
    return counts;
  }

  PackagedServer server;
  std::size_t asked = 0;
  std::map<std::size_t, std::string> unanswered;

 private:
  void askNext() {
    if (!goesOn_()) {
      if (--underWay_ == 0) Faults::DispatchQueue::main().stop();
      return;
    }
    const auto length = ++asked;
    const auto atEnd = [this, length](const Faults::Calls& calls) {
      const auto ending = Faults::textOf(calls);
      Faults::DispatchQueue::main().post([this, length, ending] {
        if (ending != Faults::success) unanswered.emplace(length, ending);
        askNext();
      });
    };
    Faults::start(0, atEnd, std::string(length, '?'));
  }

  const Faults::Application application_;
  std::function<bool()> goesOn_;
  std::size_t underWay_ = 0;
};

}  // namespace Servers
