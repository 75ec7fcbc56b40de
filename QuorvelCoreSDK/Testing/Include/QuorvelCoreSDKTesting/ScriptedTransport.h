#pragma once

#include <QuorvelCoreSDK/CoreError.h>
#include <QuorvelCoreSDK/Transport.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>

namespace QuorvelCoreSDK::Testing {

/// A transport without a network, for tests: it answers as it is told to, when it is told to.
///
/// Requests wait until `run`, `advance` or `settle` answers them, on the thread that calls it. So a
/// test decides on which thread things go on, and in which order. Time is the transport's own: it
/// passes only with `advance`, and nothing ever sleeps. (How long the core keeps settings goes by
/// real time all the same.)
///
/// Paths: each script is for the requests whose address ends in its path; of several such paths the
/// longest counts, and of one path the latest script. Requests without a script fail as if nothing
/// listened.
///
/// Thread safety: any thread.
/// Ownership: what waits is retained until it is answered or dropped, and so is the core instance
/// that sent it.
class ScriptedTransport final : public Transport {
 public:
  using Answer = std::function<TransportReply(const TransportRequest&)>;
  using Duration = std::chrono::milliseconds;

  /// Requests to `path` get what `answer` makes of them, `after` they were sent.
  void answer(std::string path, Answer answer, Duration after = {});

  /// Requests to `path` get a status and a body (JSON, if any).
  void answer(std::string path, int status, std::string body, Duration after = {});

  /// Requests to `path` fail: the connection is reset, or whatever else the code says.
  void fail(std::string path, CoreErrorCode code = CoreErrorCode::connectionLost,
            Duration after = {});

  /// Requests to `path` never get an answer. No time limit ends them either; to script one, let
  /// them fail with `timedOut` after it.
  void ignore(std::string path);

  /// Answers requests whose time has come and runs tasks, those that follow from them too, until
  /// none is left. How many.
  std::size_t run();

  /// The same, while that much time passes: each answer at its time, in the order of the times.
  std::size_t advance(Duration time);

  /// Runs this and the main queue in turns until neither has anything left to run. To be called
  /// where the main queue may be run.
  void settle();

  /// Lets go of all that waits, uncalled: for the end of a test whose requests got no answer.
  void drop();

  /// The requests sent so far, in order; only those whose address ends in `path`, if it is given.
  [[nodiscard]] std::vector<TransportRequest> requests(std::string_view path = {}) const;

  void send(TransportRequest request, Completion completion) override;
  void post(std::function<void()> task) override;

 private:
  struct Script {
    Answer answer;
    Duration after{};
  };
  using Steps =
      std::multimap<Duration, std::function<void()>>;  // by their times, then as they came

  [[nodiscard]] Script find(std::string_view url) const;
  [[nodiscard]] Steps::node_type takeDue();
  [[nodiscard]] Duration now() const;
  bool skipTo(Duration time);

  mutable std::mutex mutex_;
  std::map<std::string, Script, std::less<>> scripts_;
  std::vector<TransportRequest> requests_;
  Steps waiting_;
  Duration now_{};
};

}  // namespace QuorvelCoreSDK::Testing
