#pragma once

#include "AnswerService.h"
#include "Articles.h"
#include "Checks.h"
#include "RecordStore.h"

#include <span>
#include <string>
#include <string_view>

namespace AnswerService {

class Misbehaviours;

/// What requests need. All of it is borrowed.
struct Context {
  const Options& options;
  const Articles& articles;
  RecordStore& store;
  Misbehaviours& misbehaviours;
};

/// A request that has passed its endpoint's checks.
struct Call : Context {
  /// The part of the path that the endpoint's pattern captures.
  std::string pathPart;
  Json body;
};

/// One row of the service's interface. What changes something is a POST and needs the token.
struct Endpoint {
  std::string_view name;
  /// A regular expression for the whole path.
  const char* path;
  /// Returns the answer's body; null: there is none. May throw a Refusal. Requests need no order
  /// among them.
  Json (*carryOut)(const Call& call);
  bool isPost = false;
  /// Empty: the endpoint looks at no body.
  std::span<const Member> members;
};

std::span<const Endpoint> endpoints();

}  // namespace AnswerService
