#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace AnswerService {

struct Query {
  std::string enquiry;
  std::string locale;
  std::vector<std::int64_t> articleIds;  ///< What it was answered with, best first.
};

/// A resolution, a rejection or a vote.
struct Report {
  std::int64_t articleId = 0;
  std::int64_t reasonId = 0;  ///< Of rejections only.
};

/// What clients did, oldest first. The service's address /demo/record shows more of each.
struct Record {
  std::vector<Query> queries;
  std::vector<Report> resolutions;
  std::vector<Report> rejections;
  std::vector<Report> votes;
  /// By endpoint name; every endpoint is listed. Refused and misbehaving requests count too.
  std::map<std::string, std::int64_t> requests;
};

}  // namespace AnswerService
