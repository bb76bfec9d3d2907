#include "Sqlite.hpp"

#include <sqlite3.h>

#include <cstddef>

namespace tallyfox::server {
namespace {

StorageError lastError(sqlite3* database) {
  return {sqlite3_errmsg(database)};
}
StorageError lastError(sqlite3_stmt* statement) {
  return lastError(sqlite3_db_handle(statement));
}

int bound(sqlite3_stmt* statement, int index, const SqliteValue& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) return sqlite3_bind_int64(statement, index, *number);
  if (const auto* text = std::get_if<std::string_view>(&value)) {
    return sqlite3_bind_text64(statement, index, text->data(), text->size(), SQLITE_STATIC, SQLITE_UTF8);
  }
  if (const auto* bytes = std::get_if<ByteView>(&value)) {
    return sqlite3_bind_blob64(statement, index, bytes->data(), bytes->size(), SQLITE_STATIC);
  }
  return sqlite3_bind_null(statement, index);
}

}  // namespace

SqliteCursor::~SqliteCursor() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

StorageResult<bool> SqliteCursor::next() {
  switch (sqlite3_step(statement_)) {
    case SQLITE_ROW:
      return true;
    case SQLITE_DONE:
      return false;
    default:
      return std::unexpected(lastError(statement_));
  }
}

std::int64_t SqliteCursor::integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

std::string SqliteCursor::text(int column) const {
  return optionalText(column).value_or(std::string{});
}

std::optional<std::string> SqliteCursor::optionalText(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  if (text == nullptr) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(text),
                     static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

Bytes SqliteCursor::blob(int column) const {
  const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
  if (bytes == nullptr) return {};
  return {bytes, bytes + sqlite3_column_bytes(statement_, column)};
}

StorageResult<SqliteCursor> SqliteStatement::start(std::initializer_list<SqliteValue> values) {
  SqliteCursor cursor(statement_.get());
  int index = 0;
  for (const SqliteValue& value : values) {
    if (bound(statement_.get(), ++index, value) != SQLITE_OK) return std::unexpected(lastError(statement_.get()));
  }
  return cursor;
}

StorageResult<int> SqliteStatement::run(std::initializer_list<SqliteValue> values) {
  auto cursor = start(values);
  if (!cursor) return std::unexpected(cursor.error());
  if (const auto row = cursor->next(); !row) return std::unexpected(row.error());
  return sqlite3_changes(sqlite3_db_handle(statement_.get()));
}

void SqliteStatement::Finalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void SqliteConnection::Closer::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

StorageResult<SqliteConnection> SqliteConnection::open(const std::string& path) {
  sqlite3* database = nullptr;
  const int status = sqlite3_open_v2(path.c_str(), &database,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  SqliteConnection connection(database);
  if (status != SQLITE_OK) return std::unexpected(StorageError{sqlite3_errstr(status)});
  return connection;
}

StorageResult<SqliteStatement> SqliteConnection::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v3(database_.get(), sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                         &statement, nullptr) != SQLITE_OK) {
    return std::unexpected(lastError(database_.get()));
  }
  return SqliteStatement(statement);
}

StorageResult<void> SqliteConnection::execute(const std::string& sql) {
  if (sqlite3_exec(database_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    return std::unexpected(lastError(database_.get()));
  }
  return {};
}

StorageResult<std::string> SqliteConnection::single(std::string_view sql) {
  auto statement = prepare(sql);
  if (!statement) return std::unexpected(statement.error());
  auto cursor = statement->start({});
  if (!cursor) return std::unexpected(cursor.error());
  if (const auto row = cursor->next(); !row) return std::unexpected(row.error());
  return cursor->text(0);
}

}  // namespace tallyfox::server
