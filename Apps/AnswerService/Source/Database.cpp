#include "Database.h"

#include <fmt/format.h>

#include <cstdint>
#include <stdexcept>

namespace AnswerService {
namespace {

int bind(sqlite3_stmt* statement, int index, const Json& value) {
  if (value.is_number()) return sqlite3_bind_int64(statement, index, value.get<std::int64_t>());
  const auto& text = value.get_ref<const std::string&>();
  return sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT,
                             SQLITE_UTF8);
}

Json column(sqlite3_stmt* row, int index) {
  if (sqlite3_column_type(row, index) == SQLITE_INTEGER) return sqlite3_column_int64(row, index);
  const unsigned char* const text = sqlite3_column_text(row, index);
  return text ? reinterpret_cast<const char*>(text) : "";
}

}  // namespace

Database::Database(const std::string& file) : connection_(nullptr, &sqlite3_close) {
  sqlite3* opened = nullptr;
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  const int result = sqlite3_open_v2(file.c_str(), &opened, flags, nullptr);
  connection_.reset(opened);  // There is a connection to close even when opening failed.
  check(result == SQLITE_OK);
}

Json Database::run(std::string_view sql, const std::vector<Json>& parameters) const {
  Json rows = Json::array();
  for (const char *at = sql.data(), *end = at + sql.size(); at != end;) {
    sqlite3_stmt* row = nullptr;
    check(sqlite3_prepare_v2(connection_.get(), at, static_cast<int>(end - at), &row, &at) ==
          SQLITE_OK);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> owner(row, &sqlite3_finalize);
    if (!row) continue;  // a comment, or blanks
    int index = 0;
    for (const Json& value : parameters) check(bind(row, ++index, value) == SQLITE_OK);
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(row)) == SQLITE_ROW) {
      Json& columns = rows.emplace_back(Json::array());
      for (int i = 0; i < sqlite3_column_count(row); ++i) columns.push_back(column(row, i));
    }
    check(result == SQLITE_DONE);
  }
  return rows;
}

void Database::check(bool succeeded) const {
  if (succeeded) return;
  throw std::runtime_error(
      fmt::format("The database failed: {}.", sqlite3_errmsg(connection_.get())));
}

}  // namespace AnswerService
