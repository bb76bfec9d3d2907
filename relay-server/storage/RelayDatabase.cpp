#include "RelayDatabase.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "Sqlite.hpp"

namespace tallyfox::server {
namespace {

/// Stored in the file, so that a relay never works on a layout that it does not know.
constexpr std::string_view schemaVersion = "2";

constexpr const char* schema = R"sql(
  BEGIN IMMEDIATE;
  CREATE TABLE pairings (
    id TEXT PRIMARY KEY,
    token_hash BLOB NOT NULL,
    registration INTEGER NOT NULL,
    revoked INTEGER NOT NULL DEFAULT 0
  ) STRICT;
  CREATE INDEX pairings_by_token ON pairings (token_hash, registration);
  CREATE TABLE devices (
    number INTEGER PRIMARY KEY,
    pairing_id TEXT NOT NULL REFERENCES pairings (id),
    id TEXT NOT NULL,
    name TEXT NOT NULL,
    platform TEXT,
    unpaired INTEGER NOT NULL DEFAULT 0,
    push_endpoint TEXT,
    UNIQUE (pairing_id, id)
  ) STRICT;
  PRAGMA user_version = 2;
  COMMIT;
)sql";

/// Layout 1 knew no Web Push.
constexpr const char* fromLayout1 = R"sql(
  BEGIN IMMEDIATE;
  ALTER TABLE devices ADD COLUMN push_endpoint TEXT;
  PRAGMA user_version = 2;
  COMMIT;
)sql";

std::unexpected<StorageError> systemFailure(std::string_view what, const std::filesystem::path& path) {
  return std::unexpected(StorageError{fmt::format("{} {}: {}", what, path.string(), std::strerror(errno))});
}

StorageResult<void> prepareFiles(const std::filesystem::path& directory, const std::filesystem::path& file) {
  if (directory.has_parent_path()) {
    std::error_code error;
    std::filesystem::create_directories(directory.parent_path(), error);
    if (error) {
      return std::unexpected(StorageError{fmt::format("cannot create {}: {}", directory.string(), error.message())});
    }
  }
  if (::mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) return systemFailure("cannot create", directory);
  // SQLite gives its side files the mode of the database, so the mode must be right before SQLite opens it.
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return systemFailure("cannot open", file);
  const bool tightened = ::fchmod(descriptor, S_IRUSR | S_IWUSR) == 0;
  ::close(descriptor);
  if (!tightened) return systemFailure("cannot protect", file);
  return {};
}

StorageResult<void> configure(SqliteConnection& connection) {
  // Exclusive: two relays on one directory would each miss what the other one routes.
  const auto set = connection.execute(
      "PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = "
      "ON;");
  if (!set) return set;
  const auto verdict = connection.single("PRAGMA quick_check(1)");
  if (!verdict) return std::unexpected(verdict.error());
  if (*verdict != "ok") return std::unexpected(StorageError{"the database is damaged: " + *verdict});
  const auto version = connection.single("PRAGMA user_version");
  if (!version) return std::unexpected(version.error());
  if (*version == "0") return connection.execute(schema);
  if (*version == "1") return connection.execute(fromLayout1);
  if (*version == schemaVersion) return {};
  return std::unexpected(StorageError{"the database has the unknown layout " + *version});
}

PairingRecord pairingRecord(const SqliteCursor& row) {
  PairingRecord record{.id = row.text(0), .revoked = row.integer(2) != 0};
  const Bytes hash = row.blob(1);
  std::copy_n(hash.begin(), std::min(hash.size(), record.tokenHash.size()), record.tokenHash.begin());
  return record;
}

DeviceRecord deviceRecord(const SqliteCursor& row) {
  return {.id = row.text(0),
          .name = row.text(1),
          .platform = row.optionalText(2),
          .unpaired = row.integer(3) != 0,
          .pushEndpoint = row.optionalText(4)};
}

/// All rows of one run of the statement.
template <typename Record>
StorageResult<std::vector<Record>> records(SqliteStatement& statement, std::initializer_list<SqliteValue> values,
                                           Record (*read)(const SqliteCursor&)) {
  auto cursor = statement.start(values);
  if (!cursor) return std::unexpected(cursor.error());
  std::vector<Record> result;
  while (true) {
    const auto row = cursor->next();
    if (!row) return std::unexpected(row.error());
    if (!*row) return result;
    result.push_back(read(*cursor));
  }
}

/// The first row of one run of the statement, if any.
template <typename Record>
StorageResult<std::optional<Record>> record(SqliteStatement& statement, std::initializer_list<SqliteValue> values,
                                            Record (*read)(const SqliteCursor&)) {
  auto cursor = statement.start(values);
  if (!cursor) return std::unexpected(cursor.error());
  const auto row = cursor->next();
  if (!row) return std::unexpected(row.error());
  return *row ? std::optional(read(*cursor)) : std::nullopt;
}

SqliteValue optionalValue(const std::optional<std::string>& text) {
  return text ? SqliteValue(std::string_view(*text)) : SqliteValue(nullptr);
}

StorageResult<void> done(const StorageResult<int>& run) {
  if (!run) return std::unexpected(run.error());
  return {};
}

}  // namespace

struct RelayDatabase::State {
  SqliteConnection connection;
  SqliteStatement pairing;
  SqliteStatement pairingOfToken;
  SqliteStatement registerPairing;
  SqliteStatement revokePairing;
  SqliteStatement forgetDevices;
  SqliteStatement pairedDevices;
  SqliteStatement device;
  SqliteStatement saveDevice;
  SqliteStatement setPushEndpoint;
  SqliteStatement unpairDevice;
  SqliteStatement forgetDevice;

  static StorageResult<std::unique_ptr<State>> make(SqliteConnection connection);
};

StorageResult<std::unique_ptr<RelayDatabase::State>> RelayDatabase::State::make(SqliteConnection connection) {
  std::vector<SqliteStatement> statements;
  for (const std::string_view sql : {
           "SELECT id, token_hash, revoked FROM pairings WHERE id = ?1",
           "SELECT id, token_hash, revoked FROM pairings WHERE token_hash = ?1 ORDER BY registration DESC LIMIT 1",
           "INSERT INTO pairings (id, token_hash, registration) VALUES (?1, ?2, "
           "(SELECT COALESCE(MAX(registration), 0) + 1 FROM pairings WHERE token_hash = ?2)) "
           "ON CONFLICT (id) DO UPDATE SET registration = excluded.registration",
           "UPDATE pairings SET revoked = 1 WHERE id = ?1",
           "DELETE FROM devices WHERE pairing_id = ?1",
           "SELECT id, name, platform, unpaired, push_endpoint FROM devices WHERE pairing_id = ?1 AND unpaired = 0 "
           "ORDER BY number",
           "SELECT id, name, platform, unpaired, push_endpoint FROM devices WHERE pairing_id = ?1 AND id = ?2",
           "INSERT INTO devices (pairing_id, id, name, platform) VALUES (?1, ?2, ?3, ?4) "
           "ON CONFLICT (pairing_id, id) DO UPDATE SET name = excluded.name, platform = excluded.platform",
           "UPDATE devices SET push_endpoint = ?3 WHERE pairing_id = ?1 AND id = ?2 AND unpaired = 0",
           "UPDATE devices SET unpaired = 1, push_endpoint = NULL WHERE pairing_id = ?1 AND id = ?2 AND unpaired = 0",
           "DELETE FROM devices WHERE pairing_id = ?1 AND id = ?2",
       }) {
    auto statement = connection.prepare(sql);
    if (!statement) return std::unexpected(statement.error());
    statements.push_back(std::move(*statement));
  }
  auto next = statements.begin();
  const auto take = [&next]() -> SqliteStatement { return std::move(*next++); };
  // Braces: the members are initialised from left to right, in the order of the list above.
  return std::make_unique<State>(State{std::move(connection), take(), take(), take(), take(), take(), take(), take(),
                                       take(), take(), take(), take()});
}

RelayDatabase::RelayDatabase(std::unique_ptr<State> state) : state_(std::move(state)) {}
RelayDatabase::RelayDatabase(RelayDatabase&&) noexcept = default;
RelayDatabase& RelayDatabase::operator=(RelayDatabase&&) noexcept = default;
RelayDatabase::~RelayDatabase() = default;

StorageResult<RelayDatabase> RelayDatabase::open(const std::filesystem::path& directory) {
  const std::filesystem::path file = directory / "relay.sqlite";
  if (const auto prepared = prepareFiles(directory, file); !prepared) return std::unexpected(prepared.error());
  auto connection = SqliteConnection::open(file.string());
  if (!connection) return std::unexpected(connection.error());
  if (const auto configured = configure(*connection); !configured) {
    return std::unexpected(StorageError{fmt::format("{}: {}", file.string(), configured.error().description)});
  }
  auto state = State::make(std::move(*connection));
  if (!state) return std::unexpected(state.error());
  return RelayDatabase(std::move(*state));
}

StorageResult<std::optional<PairingRecord>> RelayDatabase::pairing(std::string_view id) {
  return record(state_->pairing, {id}, pairingRecord);
}

StorageResult<std::optional<PairingRecord>> RelayDatabase::pairingOfToken(const Sha256Digest& tokenHash) {
  return record(state_->pairingOfToken, {ByteView(tokenHash)}, pairingRecord);
}

StorageResult<void> RelayDatabase::registerPairing(std::string_view id, const Sha256Digest& tokenHash) {
  return done(state_->registerPairing.run({id, ByteView(tokenHash)}));
}

StorageResult<void> RelayDatabase::revokePairing(std::string_view id) {
  if (auto begun = state_->connection.execute("BEGIN IMMEDIATE"); !begun) return begun;
  StorageResult<void> outcome = done(state_->revokePairing.run({id}));
  if (outcome) outcome = done(state_->forgetDevices.run({id}));
  if (outcome) outcome = state_->connection.execute("COMMIT");
  // Some failures have rolled back already; the one that counts is reported either way.
  if (!outcome) (void)state_->connection.execute("ROLLBACK");
  return outcome;
}

StorageResult<std::vector<DeviceRecord>> RelayDatabase::pairedDevices(std::string_view pairingID) {
  return records(state_->pairedDevices, {pairingID}, deviceRecord);
}

StorageResult<std::optional<DeviceRecord>> RelayDatabase::device(std::string_view pairingID, std::string_view id) {
  return record(state_->device, {pairingID, id}, deviceRecord);
}

StorageResult<void> RelayDatabase::saveDevice(std::string_view pairingID, const DeviceRecord& device) {
  return done(state_->saveDevice.run({pairingID, device.id, device.name, optionalValue(device.platform)}));
}

StorageResult<bool> RelayDatabase::setPushEndpoint(std::string_view pairingID, std::string_view id,
                                                   const std::optional<std::string>& endpoint) {
  const auto changed = state_->setPushEndpoint.run({pairingID, id, optionalValue(endpoint)});
  if (!changed) return std::unexpected(changed.error());
  return *changed > 0;
}

StorageResult<bool> RelayDatabase::unpairDevice(std::string_view pairingID, std::string_view id) {
  const auto changed = state_->unpairDevice.run({pairingID, id});
  if (!changed) return std::unexpected(changed.error());
  return *changed > 0;
}

StorageResult<void> RelayDatabase::forgetDevice(std::string_view pairingID, std::string_view id) {
  return done(state_->forgetDevice.run({pairingID, id}));
}

}  // namespace tallyfox::server
