#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace AnswerService {

/// One SQLite connection, opened so that SQLite itself serialises its use by several threads.
/// Errors are std::runtime_error with SQLite's own sentence.
class Database {
 public:
  explicit Database(const std::string& file);

  void execute(const std::string& sql);

 private:
  friend class Statement;
  std::unique_ptr<sqlite3, decltype(&sqlite3_close)> connection_;
};

/// One run of one statement: its values are bound on construction, its rows read by step().
class Statement {
 public:
  template <typename... Values>
  Statement(Database& database, std::string_view sql, const Values&... values)
      : Statement(database, sql, Prepared{}) {
    (bind(nextIndex_++, values), ...);
  }

  /// True while there is a row to read.
  bool step();

  [[nodiscard]] std::int64_t integer(int column) const;
  [[nodiscard]] double real(int column) const;
  [[nodiscard]] std::string text(int column) const;
  [[nodiscard]] bool isNull(int column) const;

 private:
  struct Prepared {};
  Statement(Database& database, std::string_view sql, Prepared);

  void bind(int index, std::int64_t value);
  void bind(int index, std::string_view value);
  void bind(int index, const std::optional<std::int64_t>& value);
  void check(int result) const;

  int nextIndex_ = 1;
  sqlite3* const connection_;
  std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement_;
};

}  // namespace AnswerService
