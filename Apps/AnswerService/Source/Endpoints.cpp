#include "Endpoints.h"

#include <fmt/format.h>

#include <stdexcept>
#include <string>

namespace AnswerService {
namespace {

using Type = Member::Type;

constexpr Member kInteraction[] = {
    {.name = "via_id", .type = Type::Integer},
    {.name = "deflection_channel_id", .type = Type::Integer},
    {.name = "interaction_reference", .type = Type::String},
    {.name = "interaction_reference_type", .type = Type::Integer},
    {.name = "enquiry", .type = Type::String},
    {.name = "locale", .type = Type::String},
    {.name = "labels", .type = Type::ListOfStrings},
    {.name = "brand_id", .type = Type::Integer, .required = false},
};

constexpr Member kResolution[] = {
    {.name = "deflection_id", .type = Type::Integer},
    {.name = "article_id", .type = Type::Integer},
    {.name = "resolution_channel_id", .type = Type::Integer},
    {.name = "interaction_access_token", .type = Type::String},
};

constexpr Member kRejection[] = {
    {.name = "deflection_id", .type = Type::Integer},
    {.name = "article_id", .type = Type::Integer},
    {.name = "resolution_channel_id", .type = Type::Integer},
    {.name = "interaction_access_token", .type = Type::String},
    {.name = "reason_id", .type = Type::Integer},
};

constexpr bool kOpen = false;
constexpr bool kToken = true;

constexpr Endpoint kEndpoints[] = {
    {.name = "settings",
     .method = "GET",
     .path = "/api/v1/account/settings",
     .needsToken = kOpen,
     .members = {},
     .handler = &Handlers::settings},
    {.name = "knowledge-settings",
     .method = "GET",
     .path = "/knowledge/v1/settings",
     .needsToken = kOpen,
     .members = {},
     .handler = &Handlers::knowledgeSettings},
    {.name = "interaction",
     .method = "POST",
     .path = "/answers/v1/interactions",
     .needsToken = kToken,
     .members = kInteraction,
     .handler = &Handlers::interaction},
    {.name = "resolve",
     .method = "POST",
     .path = "/answers/v1/resolutions",
     .needsToken = kToken,
     .members = kResolution,
     .handler = &Handlers::resolve},
    {.name = "reject",
     .method = "POST",
     .path = "/answers/v1/rejections",
     .needsToken = kToken,
     .members = kRejection,
     .handler = &Handlers::reject},
    {.name = "vote",
     .method = "POST",
     .path = "/knowledge/v1/articles/([^/]+)/votes/up",
     .needsToken = kToken,
     .members = {},
     .handler = &Handlers::vote},
};

}  // namespace

std::span<const Endpoint> endpoints() {
  return kEndpoints;
}

void checkEndpointName(std::string_view name) {
  std::string known;
  for (const Endpoint& endpoint : kEndpoints) {
    if (endpoint.name == name) return;
    known += fmt::format("{}, ", endpoint.name);
  }
  if (name == kRecordEndpoint) return;
  throw std::invalid_argument(
      fmt::format("\"{}\" is no endpoint; there are {}{}.", name, known, kRecordEndpoint));
}

}  // namespace AnswerService
