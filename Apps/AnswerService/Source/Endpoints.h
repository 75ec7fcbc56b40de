#pragma once

#include "Handlers.h"
#include "RequestChecks.h"

#include <span>
#include <string_view>

namespace AnswerService {

/// One row of the service's interface.
struct Endpoint {
  std::string_view name;
  std::string_view method;
  /// A regular expression for the whole path.
  std::string_view path;
  bool needsToken;
  /// Empty: the endpoint takes no body.
  std::span<const Member> members;
  Reply (Handlers::*handler)(const Call& call) const;
};

/// Every endpoint but the record, which is about them.
std::span<const Endpoint> endpoints();

constexpr std::string_view kRecordEndpoint = "record";
constexpr std::string_view kRecordPath = "/demo/record";

/// Throws std::invalid_argument, naming the endpoints that there are.
void checkEndpointName(std::string_view name);

}  // namespace AnswerService
