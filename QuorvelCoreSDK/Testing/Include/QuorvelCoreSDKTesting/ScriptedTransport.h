#pragma once

#include <QuorvelCoreSDK/Transport.h>

#include <cstddef>
#include <map>
#include <mutex>

namespace QuorvelCoreSDK::Testing {

/// A transport without a network, for tests: it answers as it is told to, when it is told to.
///
/// Requests wait until `run` answers them, on the thread that calls it. So a test decides on which
/// thread things go on, and in which order.
///
/// Thread safety: any thread.
class ScriptedTransport final : public Transport {
 public:
  using Answer = std::function<TransportReply(const TransportRequest&)>;

  /// Every request whose address ends in `path` (the longest such counts) gets this answer. Without
  /// one, a request fails as if nothing listened.
  void answer(std::string path, Answer answer);

  /// Answers with a status and a body (JSON, if any).
  void answer(std::string path, int status, std::string body);

  /// Leaves requests to `path` without an answer for as long as this transport lives.
  void ignore(std::string path);

  /// Answers requests and runs tasks, those that follow from them too, until none waits. How many.
  std::size_t run();

  /// The requests sent so far, in order; only those whose address ends in `path`, if it is given.
  [[nodiscard]] std::vector<TransportRequest> requests(std::string_view path = {}) const;

  void send(TransportRequest request, Completion completion) override;
  void post(std::function<void()> task) override;

 private:
  [[nodiscard]] const Answer* find(std::string_view url) const;

  mutable std::mutex mutex_;
  std::map<std::string, Answer, std::less<>> answers_;  // an empty one: never
  std::vector<TransportRequest> requests_;
  std::vector<std::function<void()>> waiting_;
  std::vector<Completion> ignored_;
};

}  // namespace QuorvelCoreSDK::Testing
