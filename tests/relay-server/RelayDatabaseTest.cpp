// What the relay remembers: it survives reopening, is readable by its user alone, and a database that cannot be used is
// refused with a reason.
#include "storage/RelayDatabase.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>

#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"
#include "storage/Sqlite.hpp"

namespace tallyfox::server {
namespace {

using ::testing::HasSubstr;
using testing::openedDatabase;
using testing::TemporaryDirectory;

Sha256Digest hashOf(std::string_view token) {
  return sha256(bytesOf(token));
}

mode_t modeOf(const std::filesystem::path& path) {
  struct stat status{};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 0777;
}

TEST(RelayDatabase, keepsPairingsAndDevicesAcrossReopening) {
  const TemporaryDirectory directory;
  {
    RelayDatabase database = openedDatabase(directory.path());
    ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
    ASSERT_TRUE(database.saveDevice("P1", {.id = "D1", .name = "Kim's phone", .platform = "cli"}));
    ASSERT_TRUE(database.saveDevice("P1", {.id = "D0", .name = "Other"}));
  }
  RelayDatabase database = openedDatabase(directory.path());
  EXPECT_EQ(database.pairing("P1").value(), (PairingRecord{.id = "P1", .tokenHash = hashOf("token")}));
  EXPECT_EQ(database.pairing("P2").value(), std::nullopt);
  EXPECT_EQ(database.pairedDevices("P1").value(),
            (std::vector<DeviceRecord>{{.id = "D1", .name = "Kim's phone", .platform = "cli"},
                                       {.id = "D0", .name = "Other"}}));
}

TEST(RelayDatabase, createsDirectoryAndFilesForItsUserAlone) {
  const TemporaryDirectory directory;
  const auto data = directory.path() / "a" / "b";
  RelayDatabase database = openedDatabase(data);
  ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
  EXPECT_EQ(modeOf(data), 0700U);
  for (const auto& entry : std::filesystem::directory_iterator(data)) {
    EXPECT_EQ(modeOf(entry.path()), 0600U) << entry.path();
  }
}

TEST(RelayDatabase, tightensAFileThatOthersCouldRead) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "relay.sqlite";
  std::ofstream(file).flush();
  ASSERT_EQ(chmod(file.c_str(), 0644), 0);
  const RelayDatabase database = openedDatabase(directory.path());
  EXPECT_EQ(modeOf(file), 0600U);
}

TEST(RelayDatabase, findsThePairingForWhichATokenWasRegisteredLast) {
  const TemporaryDirectory directory;
  RelayDatabase database = openedDatabase(directory.path());
  ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
  ASSERT_TRUE(database.registerPairing("P2", hashOf("token")));
  EXPECT_EQ(database.pairingOfToken(hashOf("token")).value()->id, "P2");
  ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
  EXPECT_EQ(database.pairingOfToken(hashOf("token")).value()->id, "P1");
  EXPECT_EQ(database.pairingOfToken(hashOf("other")).value(), std::nullopt);
}

TEST(RelayDatabase, neverChangesTheTokenOfAPairing) {
  const TemporaryDirectory directory;
  RelayDatabase database = openedDatabase(directory.path());
  ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
  ASSERT_TRUE(database.registerPairing("P1", hashOf("other")));
  EXPECT_EQ(database.pairing("P1").value()->tokenHash, hashOf("token"));
}

TEST(RelayDatabase, unpairedDeviceStaysKnownButIsNoLongerPaired) {
  const TemporaryDirectory directory;
  RelayDatabase database = openedDatabase(directory.path());
  ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
  ASSERT_TRUE(database.saveDevice("P1", {.id = "D1", .name = "Phone"}));
  EXPECT_EQ(database.unpairDevice("P1", "D1"), true);
  EXPECT_EQ(database.unpairDevice("P1", "D1"), false);
  EXPECT_EQ(database.unpairDevice("P1", "D2"), false);
  EXPECT_TRUE(database.pairedDevices("P1").value().empty());
  EXPECT_TRUE(database.device("P1", "D1").value()->unpaired);
  ASSERT_TRUE(database.forgetDevice("P1", "D1"));
  EXPECT_EQ(database.device("P1", "D1").value(), std::nullopt);
}

TEST(RelayDatabase, revokedPairingForgetsItsPhones) {
  const TemporaryDirectory directory;
  RelayDatabase database = openedDatabase(directory.path());
  ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
  ASSERT_TRUE(database.saveDevice("P1", {.id = "D1", .name = "Phone"}));
  ASSERT_TRUE(database.revokePairing("P1"));
  EXPECT_TRUE(database.pairing("P1").value()->revoked);
  EXPECT_EQ(database.device("P1", "D1").value(), std::nullopt);
}

TEST(RelayDatabase, failsForADeviceOfAnUnknownPairing) {
  const TemporaryDirectory directory;
  RelayDatabase database = openedDatabase(directory.path());
  EXPECT_FALSE(database.saveDevice("P1", {.id = "D1", .name = "Phone"}));
}

TEST(RelayDatabase, refusesAFileThatIsNoDatabase) {
  const TemporaryDirectory directory;
  std::ofstream(directory.path() / "relay.sqlite") << std::string(8192, 'x');
  const auto database = RelayDatabase::open(directory.path());
  ASSERT_FALSE(database);
  EXPECT_THAT(database.error().description, HasSubstr("not a database"));
}

TEST(RelayDatabase, refusesADamagedDatabase) {
  const TemporaryDirectory directory;
  {
    RelayDatabase database = openedDatabase(directory.path());
    for (int number = 0; number < 200; ++number) {
      ASSERT_TRUE(database.registerPairing("P" + std::to_string(number), hashOf("token")));
    }
  }
  std::fstream file(directory.path() / "relay.sqlite", std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(4096);
  file << std::string(static_cast<std::size_t>(std::filesystem::file_size(directory.path() / "relay.sqlite")) - 4096,
                      'x');
  file.close();
  EXPECT_FALSE(RelayDatabase::open(directory.path()));
}

TEST(RelayDatabase, takesOverTheLayoutBeforeWebPush) {
  const TemporaryDirectory directory;
  {
    RelayDatabase database = openedDatabase(directory.path());
    ASSERT_TRUE(database.registerPairing("P1", hashOf("token")));
    ASSERT_TRUE(database.saveDevice("P1", {.id = "D1", .name = "Phone"}));
  }
  {
    auto connection = SqliteConnection::open((directory.path() / "relay.sqlite").string());
    ASSERT_TRUE(connection);
    ASSERT_TRUE(connection->execute("ALTER TABLE devices DROP COLUMN push_endpoint; PRAGMA user_version = 1"));
  }
  RelayDatabase database = openedDatabase(directory.path());
  EXPECT_EQ(database.pairing("P1").value(), (PairingRecord{.id = "P1", .tokenHash = hashOf("token")}));
  EXPECT_EQ(database.setPushEndpoint("P1", "D1", "https://push.example/1"), true);
  EXPECT_EQ(database.pairedDevices("P1").value(),
            (std::vector<DeviceRecord>{{.id = "D1", .name = "Phone", .pushEndpoint = "https://push.example/1"}}));
}

TEST(RelayDatabase, refusesALayoutItDoesNotKnow) {
  const TemporaryDirectory directory;
  {
    auto connection = SqliteConnection::open((directory.path() / "relay.sqlite").string());
    ASSERT_TRUE(connection);
    ASSERT_TRUE(connection->execute("PRAGMA user_version = 3"));
  }
  const auto database = RelayDatabase::open(directory.path());
  ASSERT_FALSE(database);
  EXPECT_THAT(database.error().description, HasSubstr("unknown layout 3"));
}

TEST(RelayDatabase, refusesADirectoryThatAnotherRelayHasOpen) {
  const TemporaryDirectory directory;
  const RelayDatabase first = openedDatabase(directory.path());
  const auto second = RelayDatabase::open(directory.path());
  ASSERT_FALSE(second);
  EXPECT_THAT(second.error().description, HasSubstr("locked"));
}

TEST(RelayDatabase, refusesAPathThatIsNoDirectory) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "file";
  std::ofstream(file) << "x";
  EXPECT_FALSE(RelayDatabase::open(file));
  EXPECT_FALSE(RelayDatabase::open(file / "below"));
}

TEST(RelayDatabase, refusesADatabasePathThatIsADirectory) {
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory.path() / "relay.sqlite");
  EXPECT_FALSE(RelayDatabase::open(directory.path()));
}

}  // namespace
}  // namespace tallyfox::server
