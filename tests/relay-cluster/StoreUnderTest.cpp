#include "StoreUnderTest.hpp"

#include <optional>
#include <stdexcept>

#include "MemoryPairingStore.hpp"
#include "NatsServer.hpp"
#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"
#include "cluster/NatsPairingStore.hpp"

namespace tallyfox::server::testing {
namespace {

class MemoryUnderTest final : public StoreUnderTest {
 public:
  PairingStore& store() override { return store_; }

 private:
  MemoryPairingStore store_;
};

class SqliteUnderTest final : public StoreUnderTest {
 public:
  PairingStore& store() override { return store_; }

 private:
  TemporaryDirectory directory_;
  SqlitePairingStore store_ = openedStore(directory_.path());
};

/// Each store has names of its own in one server, as clusters may share one.
class NatsUnderTest final : public StoreUnderTest {
 public:
  NatsUnderTest() {
    static NatsServer server;
    static int count = 0;
    NatsOptions options{.servers = {server.url()}, .prefix = "test-" + std::to_string(++count)};
    auto connection = NatsConnection::open(options, io_.get_executor());
    if (!connection) throw std::runtime_error(connection.error());
    connection_ = std::move(*connection);
    buckets_.emplace(*connection_, options, std::size_t{1'000'000});
    if (const auto made = buckets_->make(); !made) throw std::runtime_error(made.error().description);
    store_.emplace(*connection_, *buckets_);
  }
  ~NatsUnderTest() override { connection_->close(); }
  PairingStore& store() override { return *store_; }

 private:
  boost::asio::io_context io_;
  std::unique_ptr<NatsConnection> connection_;
  std::optional<NatsBuckets> buckets_;
  std::optional<NatsPairingStore> store_;
};

template <typename Subject>
std::unique_ptr<StoreUnderTest> made() {
  return std::make_unique<Subject>();
}

}  // namespace

std::vector<StoreMaker> storeMakers() {
  return {{"Memory", made<MemoryUnderTest>}, {"Sqlite", made<SqliteUnderTest>}, {"Nats", made<NatsUnderTest>}};
}

}  // namespace tallyfox::server::testing
