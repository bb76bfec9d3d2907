#pragma once

#include <cstdint>
#include <expected>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "StorageError.hpp"
#include "base/Bytes.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace tallyfox::server {

/// One parameter of a statement; views need to live until the cursor is gone.
using SqliteValue = std::variant<std::nullptr_t, std::int64_t, std::string_view, ByteView>;

/// One run of a prepared statement. Ends the run when destroyed; at most one at a time for a statement.
class SqliteCursor {
 public:
  explicit SqliteCursor(sqlite3_stmt* statement) : statement_(statement) {}
  SqliteCursor(SqliteCursor&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}
  SqliteCursor& operator=(SqliteCursor&&) = delete;
  ~SqliteCursor();

  /// True while there is a row to read; columns count from 0.
  [[nodiscard]] StorageResult<bool> next();
  [[nodiscard]] std::int64_t integer(int column) const;
  [[nodiscard]] std::string text(int column) const;
  [[nodiscard]] std::optional<std::string> optionalText(int column) const;
  [[nodiscard]] Bytes blob(int column) const;

 private:
  sqlite3_stmt* statement_;
};

/// A prepared statement.
class SqliteStatement {
 public:
  /// Binds the values to ?1, ?2 ... and is ready for the first row.
  [[nodiscard]] StorageResult<SqliteCursor> start(std::initializer_list<SqliteValue> values);
  /// For statements without rows: runs to the end and gives the number of rows changed.
  [[nodiscard]] StorageResult<int> run(std::initializer_list<SqliteValue> values);

 private:
  friend class SqliteConnection;
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
  };
  explicit SqliteStatement(sqlite3_stmt* statement) : statement_(statement) {}
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

/// An open database, for one thread. Statements must be gone before it.
class SqliteConnection {
 public:
  [[nodiscard]] static StorageResult<SqliteConnection> open(const std::string& path);
  [[nodiscard]] StorageResult<SqliteStatement> prepare(std::string_view sql);
  /// Runs one or more statements without parameters; rows are thrown away.
  [[nodiscard]] StorageResult<void> execute(const std::string& sql);
  /// The first column of the first row of a statement that has one.
  [[nodiscard]] StorageResult<std::string> single(std::string_view sql);

 private:
  struct Closer {
    void operator()(sqlite3* database) const;
  };
  explicit SqliteConnection(sqlite3* database) : database_(database) {}
  std::unique_ptr<sqlite3, Closer> database_;
};

}  // namespace tallyfox::server
