#pragma once

#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace AnswerService {

using Json = nlohmann::ordered_json;

/// One SQLite connection, opened so that SQLite itself serialises its use by several threads.
/// Errors are std::runtime_error with SQLite's own sentence.
class Database {
 public:
  explicit Database(const std::string& file);

  /// Runs statements with the same parameters, which are integers and texts. Returns the rows, each
  /// an array of its columns.
  Json run(std::string_view sql, const std::vector<Json>& parameters = {}) const;

 private:
  void check(bool succeeded) const;

  std::unique_ptr<sqlite3, decltype(&sqlite3_close)> connection_;
};

}  // namespace AnswerService
