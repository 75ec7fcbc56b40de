#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace AnswerService {

/// A question as it arrived, and what it was answered with.
struct Query {
  std::int64_t deflectionId = 0;
  std::int64_t viaId = 0;
  std::int64_t deflectionChannelId = 0;
  std::string interactionReference;
  std::int64_t interactionReferenceType = 0;
  std::string enquiry;
  std::string locale;
  std::vector<std::string> labels;
  std::optional<std::int64_t> brandId;
  std::string answeredLocale;
  std::vector<std::int64_t> articleIds;
};

struct Resolution {
  std::int64_t id = 0;
  std::int64_t deflectionId = 0;
  std::int64_t articleId = 0;
  std::int64_t resolutionChannelId = 0;
};

struct Rejection {
  std::int64_t id = 0;
  std::int64_t deflectionId = 0;
  std::int64_t articleId = 0;
  std::int64_t resolutionChannelId = 0;
  std::int64_t reasonId = 0;
};

struct Vote {
  std::int64_t id = 0;
  std::int64_t articleId = 0;
  std::int64_t value = 0;
};

/// What clients did, oldest first. Holds no token of any kind.
struct Record {
  std::vector<Query> queries;
  std::vector<Resolution> resolutions;
  std::vector<Rejection> rejections;
  std::vector<Vote> votes;
  /// By endpoint name; every endpoint is listed. Refused and misbehaving requests count too.
  std::map<std::string, std::int64_t> requests;
};

}  // namespace AnswerService
