#pragma once

#include "Database.h"
#include "Record.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace AnswerService {

/// Keeps what clients did in the database. The interaction tokens are kept beside it, and never
/// read back but for comparing them.
class RecordStore {
 public:
  explicit RecordStore(const Database& database);

  /// Puts an entry into one of the record's lists ("queries", ...) and returns its id.
  std::int64_t add(std::string_view list, const Json& entry, std::string_view token = "");

  /// The interaction token handed out with a query; empty when there is no such query.
  [[nodiscard]] std::string tokenOf(std::int64_t queryId) const;

  void count(std::string_view endpoint, int requests);

  /// The four lists, and how many requests each endpoint had.
  [[nodiscard]] Json read() const;

 private:
  const Database& database_;
};

/// The same, as far as the public interface tells it.
Record recordFrom(const Json& record);

}  // namespace AnswerService
