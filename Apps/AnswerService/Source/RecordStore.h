#pragma once

#include "Database.h"
#include "Record.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace AnswerService {

/// Keeps the record in the database. The interaction tokens are kept beside it, and never read
/// back but for comparing them.
class RecordStore {
 public:
  explicit RecordStore(Database& database);

  /// Each returns the id under which it was recorded, whatever id the argument holds.
  std::int64_t add(const Query& query, std::string_view interactionToken);
  std::int64_t add(const Resolution& resolution);
  std::int64_t add(const Rejection& rejection);
  std::int64_t add(const Vote& vote);

  /// The token handed out with a deflection; nothing when there is no such deflection.
  [[nodiscard]] std::optional<std::string> interactionToken(std::int64_t deflectionId) const;

  /// Everything but the request counts.
  [[nodiscard]] Record read() const;

 private:
  Database& database_;
};

nlohmann::ordered_json toJson(const Record& record);

}  // namespace AnswerService
