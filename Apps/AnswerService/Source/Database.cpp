#include "Database.h"

#include <fmt/format.h>

#include <stdexcept>

namespace AnswerService {

Database::Database(const std::string& file) : connection_(nullptr, &sqlite3_close) {
  sqlite3* opened = nullptr;
  const int result =
      sqlite3_open_v2(file.c_str(), &opened,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
  connection_.reset(opened);  // SQLite hands out a connection to close even when opening failed.
  if (result != SQLITE_OK) {
    throw std::runtime_error(
        fmt::format("The database {} cannot be opened: {}.", file, sqlite3_errstr(result)));
  }
}

void Database::execute(const std::string& sql) {
  char* message = nullptr;
  if (sqlite3_exec(connection_.get(), sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
    const std::unique_ptr<char, decltype(&sqlite3_free)> owner(message, &sqlite3_free);
    throw std::runtime_error(fmt::format("The database failed: {}.", message ? message : "?"));
  }
}

Statement::Statement(Database& database, std::string_view sql, Prepared)
    : connection_(database.connection_.get()), statement_(nullptr, &sqlite3_finalize) {
  sqlite3_stmt* prepared = nullptr;
  check(sqlite3_prepare_v2(connection_, sql.data(), static_cast<int>(sql.size()), &prepared,
                           nullptr));
  statement_.reset(prepared);
}

bool Statement::step() {
  const int result = sqlite3_step(statement_.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) check(result);
  return result == SQLITE_ROW;
}

std::int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

double Statement::real(int column) const {
  return sqlite3_column_double(statement_.get(), column);
}

std::string Statement::text(int column) const {
  // With the length, since a question may hold NUL characters.
  const void* bytes = sqlite3_column_blob(statement_.get(), column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
  return size == 0 ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

bool Statement::isNull(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

void Statement::bind(int index, std::int64_t value) {
  check(sqlite3_bind_int64(statement_.get(), index, value));
}

void Statement::bind(int index, std::string_view value) {
  // An empty view may have no data, which SQLite would take for NULL.
  check(sqlite3_bind_text64(statement_.get(), index, value.empty() ? "" : value.data(),
                            value.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::bind(int index, const std::optional<std::int64_t>& value) {
  if (value) return bind(index, *value);
  check(sqlite3_bind_null(statement_.get(), index));
}

void Statement::check(int result) const {
  if (result == SQLITE_OK) return;
  throw std::runtime_error(fmt::format("The database failed: {}.", sqlite3_errmsg(connection_)));
}

}  // namespace AnswerService
