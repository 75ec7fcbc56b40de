#pragma once

#include "Reply.h"

#include <string>
#include <string_view>

namespace AnswerService {

/// One way in which an endpoint can go wrong.
struct Misbehaviour {
  enum class Kind { Disabled, Status, Delay, Truncated, Malformed, None, Body };

  Kind kind;
  int number = 0;    ///< The status, or the delay in milliseconds.
  std::string text;  ///< The whole body.
};

/// Reads "status:503" and the like for the endpoint of this name. Throws std::invalid_argument
/// with a sentence that says what would have been right.
Misbehaviour parseMisbehaviour(std::string_view endpoint, std::string_view what);

/// True when the request is to be carried out, and recorded, before its answer goes wrong.
bool carriesOutRequest(const Misbehaviour& misbehaviour);

/// The answer that is sent in place of the right one. A delay changes nothing here.
Reply spoil(const Misbehaviour& misbehaviour, Reply right);

}  // namespace AnswerService
