#pragma once

#include <httplib.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace AnswerService {

/// One way in which an endpoint can go wrong.
struct Misbehaviour {
  /// Makes the right response a wrong one.
  void spoil(httplib::Response& response) const;

  std::string_view name;
  int number = 0;    ///< The status, or the delay in milliseconds.
  std::string text;  ///< The whole body.
};

/// Which endpoint misbehaves, and how. Any thread may use it at any time.
class Misbehaviours {
 public:
  /// Throws std::invalid_argument with a sentence that says what would have been right.
  void set(std::string_view endpoint, std::string_view what);
  void clear();

  /// What is set for the endpoint. Takes as long as it is told to delay the answer.
  std::optional<Misbehaviour> of(std::string_view endpoint);

  /// What is delayed goes on at once while delays are not allowed.
  void allowDelays(bool allowed);

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, Misbehaviour, std::less<>> ofEndpoints_;
  bool delaysAllowed_ = true;
};

}  // namespace AnswerService
