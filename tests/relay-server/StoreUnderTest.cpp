#include "StoreUnderTest.hpp"

#include "MemoryPairingStore.hpp"
#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"

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

template <typename Subject>
std::unique_ptr<StoreUnderTest> made() {
  return std::make_unique<Subject>();
}

}  // namespace

std::vector<StoreMaker> storeMakers() {
  return {{"Memory", made<MemoryUnderTest>}, {"Sqlite", made<SqliteUnderTest>}};
}

}  // namespace tallyfox::server::testing
